#include "foundation/Files.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "foundation/Paths.h"
#include "support/TemporaryFolder.h"

namespace fs = std::filesystem;

namespace {

class Files : public testing::Test {
protected:
    std::string in(const std::string& name) const { return joinPath(folder.path, name); }
    static std::string content(const std::string& path) {
        std::string bytes;
        EXPECT_TRUE(readWholeFile(path, bytes)) << path;
        return bytes;
    }

    const TemporaryFolder folder;
};

TEST_F(Files, JoinsWithOneSeparator) {
    EXPECT_EQ(joinPath("", "a"), "a");
    EXPECT_EQ(joinPath("a", ""), "a/");
    EXPECT_EQ(joinPath("a", "b"), "a/b");
    EXPECT_EQ(joinPath("a/", "b"), "a/b");
}

TEST_F(Files, ReadsAndWritesBytesUnchanged) {
    const std::string bytes("a\r\n\0\xFF", 5);
    std::string read = "old";
    EXPECT_FALSE(readWholeFile(in("file"), read));
    EXPECT_EQ(read, "");
    EXPECT_TRUE(writeWholeFile(in("file"), std::string(200000, 'x')));
    EXPECT_EQ(content(in("file")), std::string(200000, 'x'));
    EXPECT_TRUE(writeWholeFile(in("file"), bytes));
    appendOutputLine(in("file"), "more\n");
    EXPECT_EQ(content(in("file")), bytes + "more\n");
    EXPECT_EQ(fileSize(in("file")), 10u);
    EXPECT_TRUE(isFile(in("file")));

    EXPECT_FALSE(readWholeFile(folder.path, read)) << "a folder is no file";
    EXPECT_FALSE(isFile(folder.path));
    EXPECT_EQ(fileSize(in("none")), 0u);
    EXPECT_FALSE(writeWholeFile(in("none/file"), bytes));
    EXPECT_FALSE(writeWholeFile("/dev/full", bytes)) << "a full disk";
}

TEST_F(Files, ReplacesAndKeepsBothWhenItCannot) {
    writeWholeFile(in("from"), "new");
    writeWholeFile(in("to"), "old");
    EXPECT_TRUE(replaceFile(in("from"), in("to")));
    EXPECT_EQ(content(in("to")), "new");
    EXPECT_FALSE(isFile(in("from")));

    fs::create_directories(in("taken/inner"));
    EXPECT_FALSE(replaceFile(in("to"), in("taken")));
    EXPECT_TRUE(isFile(in("to")));
    const std::string log = content(joinPath(dataFolder(), "velu.log"));
    EXPECT_NE(log.find("couldn't rename " + in("to") + " (error "), std::string::npos) << log;
}

TEST_F(Files, MovesAFolderOverAnother) {
    fs::create_directories(in("from/lib"));
    fs::create_directories(in("to/lib"));
    for (const char* name : {"from/program", "from/lib/one", "to/program", "to/lib/two"})
        writeWholeFile(in(name), name);
    fs::create_symlink("one", in("from/lib/link"));
    EXPECT_TRUE(moveFolderContents(in("from"), in("to")));
    EXPECT_FALSE(fs::exists(in("from")));
    EXPECT_EQ(content(in("to/program")), "from/program");
    EXPECT_TRUE(isFile(in("to/lib/one")) && isFile(in("to/lib/two")));
    EXPECT_TRUE(fs::is_symlink(in("to/lib/link")));
}

}  // namespace
