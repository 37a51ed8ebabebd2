#include "foundation/Files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "foundation/Paths.h"
#include "support/TemporaryFolder.h"

namespace fs = std::filesystem;

namespace {

TEST(Files, JoinsWithOneSeparator) {
    EXPECT_EQ(joinPath("", "a"), "a");
    EXPECT_EQ(joinPath("a", ""), "a/");
    EXPECT_EQ(joinPath("a", "b"), "a/b");
    EXPECT_EQ(joinPath("a/", "b"), "a/b");
}

TEST(Files, ReadsAndWritesBytesUnchanged) {
    const TemporaryFolder folder;
    const std::string path = joinPath(folder.path, "file");
    const std::string bytes("a\r\n\0\xFF", 5);
    std::string read = "old";
    EXPECT_FALSE(readWholeFile(path, read));
    EXPECT_EQ(read, "");
    EXPECT_TRUE(writeWholeFile(path, std::string(200000, 'x')));
    EXPECT_TRUE(writeWholeFile(path, bytes));
    appendOutputLine(path, "more\n");
    ASSERT_TRUE(readWholeFile(path, read));
    EXPECT_EQ(read, bytes + "more\n");
    EXPECT_EQ(fileSize(path), 10u);
    EXPECT_TRUE(isFile(path));

    EXPECT_FALSE(readWholeFile(folder.path, read)) << "a folder is no file";
    EXPECT_FALSE(isFile(folder.path));
    EXPECT_EQ(fileSize(joinPath(folder.path, "none")), 0u);
    EXPECT_FALSE(writeWholeFile(joinPath(folder.path, "none/file"), bytes));
    EXPECT_FALSE(writeWholeFile("/dev/full", bytes)) << "a full disk";
}

TEST(Files, ReplacesAndKeepsBothWhenItCannot) {
    const TemporaryFolder folder;
    const std::string from = joinPath(folder.path, "from");
    const std::string to = joinPath(folder.path, "to");
    writeWholeFile(from, "new");
    writeWholeFile(to, "old");
    EXPECT_TRUE(replaceFile(from, to));
    std::string read;
    ASSERT_TRUE(readWholeFile(to, read));
    EXPECT_EQ(read, "new");
    EXPECT_FALSE(isFile(from));

    fs::create_directories(joinPath(folder.path, "taken/inner"));
    EXPECT_FALSE(replaceFile(to, joinPath(folder.path, "taken")));
    EXPECT_TRUE(isFile(to));
    ASSERT_TRUE(readWholeFile(joinPath(dataFolder(), "velu.log"), read));
    EXPECT_NE(read.find("couldn't rename " + to + " (error "), std::string::npos) << read;
}

TEST(Files, MovesAFolderOverAnother) {
    const TemporaryFolder folder;
    const std::string from = joinPath(folder.path, "from");
    const std::string to = joinPath(folder.path, "to");
    fs::create_directories(joinPath(from, "lib"));
    fs::create_directories(joinPath(to, "lib"));
    writeWholeFile(joinPath(from, "program"), "new");
    writeWholeFile(joinPath(from, "lib/one"), "1");
    fs::create_symlink("one", joinPath(from, "lib/link"));
    writeWholeFile(joinPath(to, "program"), "old");
    writeWholeFile(joinPath(to, "lib/two"), "2");
    EXPECT_TRUE(moveFolderContents(from, to));
    EXPECT_FALSE(fs::exists(from));
    std::string read;
    ASSERT_TRUE(readWholeFile(joinPath(to, "program"), read));
    EXPECT_EQ(read, "new");
    EXPECT_TRUE(isFile(joinPath(to, "lib/one")));
    EXPECT_TRUE(isFile(joinPath(to, "lib/two")));
    EXPECT_TRUE(fs::is_symlink(joinPath(to, "lib/link")));
}

}  // namespace
