#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <iterator>

#include "platform/system.h"
#include "support/TemporaryFolder.h"
#include "support/TestData.h"

// NOLINTBEGIN(concurrency-mt-unsafe): each test is alone in its process.

namespace {

namespace fs = std::filesystem;

// The program runs from a folder whose name holds all that must be quoted: this test runs itself from there.
TEST(AutostartEntry, NamesTheProgramWhereverItLies) {
    const char* config = getenv("AUTOSTART_TEST_CONFIG");
    if (config != nullptr) {
        setenv("XDG_CONFIG_HOME", config, 1);
        setRunAtStartup(true);
        return;
    }
    const TemporaryFolder folder;
    const std::string odd = folder.path + "/my \"apps\" $HOME `x` 50% a\\b";
    fs::create_directory(odd);
    fs::copy_file("/proc/self/exe", odd + "/velu");
    const std::string home = folder.path + "/deep/config";
    setenv("AUTOSTART_TEST_CONFIG", home.c_str(), 1);
    setenv("AUTOSTART_TEST_PROGRAM", (odd + "/velu").c_str(), 1);
    umask(077);
    ASSERT_EQ(system("\"$AUTOSTART_TEST_PROGRAM\" --gtest_filter=AutostartEntry.* > /dev/null"), 0);

    const std::string path = home + "/autostart/velu.desktop";
    EXPECT_EQ(fileText(path), "[Desktop Entry]\nType=Application\nName=Velu\nExec=\"" + folder.path +
                                  R"(/my \\"apps\\" \\$HOME \\`x\\` 50%% a\\\\b/velu"
Terminal=false
)");
    EXPECT_EQ(static_cast<unsigned>(fs::status(path).permissions()), 0644U);
    EXPECT_EQ(std::distance(fs::directory_iterator(home + "/autostart"), {}), 1) << "a file is left over";

    setenv("XDG_CONFIG_HOME", home.c_str(), 1);
    setRunAtStartup(false);
    EXPECT_FALSE(fs::exists(path));
    unsetenv("XDG_CONFIG_HOME");
    setenv("HOME", folder.path.c_str(), 1);
    setRunAtStartup(true);
    EXPECT_TRUE(fs::exists(folder.path + "/.config/autostart/velu.desktop"));
}

}  // namespace

// NOLINTEND(concurrency-mt-unsafe)
