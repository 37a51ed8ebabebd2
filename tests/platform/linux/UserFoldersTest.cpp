// Where Linux keeps what belongs to one user: by the environment, and safe against other users.

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "platform/system.h"
#include "support/TemporaryFolder.h"

// NOLINTBEGIN(concurrency-mt-unsafe): each test is alone in its process.

namespace {

namespace fs = std::filesystem;

fs::perms rightsOf(const fs::path& path) {
    return fs::status(path).permissions();
}

void setOrUnset(const char* variable, const char* value) {
    value == nullptr ? unsetenv(variable) : setenv(variable, value, 1);
}

TEST(LocalDataFolder, FollowsTheEnvironment) {
    const TemporaryFolder folder;
    const std::string home = folder.path + "/home";
    const std::string share = folder.path + "/a/b/share";
    setenv("HOME", home.c_str(), 1);
    umask(0);
    for (const char* value : {share.c_str(), static_cast<const char*>(nullptr), "", "relative"}) {
        const std::string expected = value == share.c_str() ? share : home + "/.local/share";
        SCOPED_TRACE(expected);
        setOrUnset("XDG_DATA_HOME", value);
        EXPECT_EQ(localDataFolder(), expected);
        EXPECT_EQ(rightsOf(expected), fs::perms::owner_all);
        EXPECT_EQ(rightsOf(fs::path(expected).parent_path()), fs::perms::owner_all);
        fs::remove_all(home);
    }
}

TEST(SingleInstance, IsFirstWhereTheSystemCannotTell) {
    constexpr const char* name = "Velu.Test.SingleInstance";
    const TemporaryFolder folder;
    setenv("XDG_RUNTIME_DIR", (folder.path + "/missing").c_str(), 1);
    EXPECT_TRUE(SingleInstance(name).isFirst());
    // A link in a folder where others may write could lead anywhere.
    setenv("XDG_RUNTIME_DIR", folder.path.c_str(), 1);
    fs::create_symlink(folder.path + "/target", folder.path + "/" + name);
    EXPECT_TRUE(SingleInstance(name).isFirst());
    EXPECT_FALSE(fs::exists(folder.path + "/target"));
}

TEST(SingleInstance, FallsBackToTheSharedFolder) {
    const std::string name = "Velu.Test.SingleInstance." + std::to_string(getpid());
    const std::string file = "/tmp/" + name + "-" + std::to_string(getuid());
    for (const char* folder : {static_cast<const char*>(nullptr), "", "relative"}) {
        setOrUnset("XDG_RUNTIME_DIR", folder);
        const SingleInstance instance(name);
        EXPECT_TRUE(instance.isFirst());
        EXPECT_FALSE(SingleInstance(name).isFirst());
        EXPECT_EQ(rightsOf(file), fs::perms::owner_read | fs::perms::owner_write);
        fs::remove(file);
    }
}

}  // namespace

// NOLINTEND(concurrency-mt-unsafe)
