#include "platform/system.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "support/TemporaryFolder.h"

// NOLINTBEGIN(concurrency-mt-unsafe): each test is alone in its process.

namespace {

namespace fs = std::filesystem;

constexpr const char* instanceName = "Velu.Test.SingleInstance";

/// Another process that takes the name and holds it until it is killed.
struct Holder {
    Holder() {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        process = fork();
        if (process == 0) {
            const SingleInstance instance(instanceName);
            const char answer = instance.isFirst() ? 'y' : 'n';
            if (write(ends[1], &answer, 1) == 1) {
                pause();
            }
            _exit(1);
        }
        close(ends[1]);
        char answer = '?';
        EXPECT_EQ(read(ends[0], &answer, 1), 1);
        isFirst = answer == 'y';
        close(ends[0]);
    }
    ~Holder() {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    pid_t process = -1;
    bool isFirst = false;
};

mode_t rightsOf(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

/// The mount points that the kernel lists, as they are written there.
std::set<std::string> mountPoints() {
    std::set<std::string> points;
    std::ifstream lines("/proc/self/mounts");
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string device;
        std::string point;
        fields >> device >> point;
        points.insert(point);
    }
    return points;
}

}  // namespace

TEST(SingleInstance, BelongsToOneProcessUntilThatIsKilled) {
    {
        const Holder first;
        EXPECT_TRUE(first.isFirst);
        const Holder second;
        EXPECT_FALSE(second.isFirst);
        EXPECT_FALSE(SingleInstance(instanceName).isFirst());
        EXPECT_TRUE(SingleInstance("Velu.Test.AnotherName").isFirst());
    }
    {
        const SingleInstance here(instanceName);
        EXPECT_TRUE(here.isFirst());
        EXPECT_FALSE(Holder().isFirst);
    }
    EXPECT_TRUE(Holder().isFirst);
}

// A server that is left running must not keep the name from the next start of the program.
TEST(SingleInstance, IsNotInheritedByStartedPrograms) {
    pid_t process = -1;
    {
        const SingleInstance instance(instanceName);
        ASSERT_TRUE(instance.isFirst());
        int ends[2];
        ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
        process = fork();
        if (process == 0) {
            execl("/bin/sleep", "sleep", "600", nullptr);
            _exit(1);
        }
        close(ends[1]);
        char end = 0;
        ASSERT_EQ(read(ends[0], &end, 1), 0);  // It runs the other program now.
        close(ends[0]);
    }
    EXPECT_TRUE(SingleInstance(instanceName).isFirst());
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
}

TEST(SingleInstance, IsFirstWhereTheSystemCannotTell) {
    const TemporaryFolder folder;
    const std::string missing = folder.path + "/missing";
    setenv("XDG_RUNTIME_DIR", missing.c_str(), 1);
    EXPECT_TRUE(SingleInstance(instanceName).isFirst());
    EXPECT_TRUE(SingleInstance(instanceName).isFirst());

    // A link in a folder where others may write could lead anywhere.
    setenv("XDG_RUNTIME_DIR", folder.path.c_str(), 1);
    const std::string target = folder.path + "/target";
    fs::create_symlink(target, folder.path + "/" + instanceName);
    EXPECT_TRUE(SingleInstance(instanceName).isFirst());
    EXPECT_FALSE(fs::exists(target));
}

TEST(SingleInstance, FallsBackToTheSharedFolder) {
    const std::string name = std::string(instanceName) + "." + std::to_string(getpid());
    for (const char* folder : {static_cast<const char*>(nullptr), "", "relative"}) {
        SCOPED_TRACE(folder == nullptr ? "not set" : folder);
        folder == nullptr ? unsetenv("XDG_RUNTIME_DIR") : setenv("XDG_RUNTIME_DIR", folder, 1);
        const SingleInstance instance(name);
        EXPECT_TRUE(instance.isFirst());
        EXPECT_FALSE(SingleInstance(name).isFirst());
        const std::string file = "/tmp/" + name + "-" + std::to_string(getuid());
        EXPECT_EQ(rightsOf(file), 0600U);
        fs::remove(file);
    }
}

TEST(LocalDataFolder, FollowsTheEnvironment) {
    const TemporaryFolder folder;
    const std::string home = folder.path + "/home";
    const std::string share = folder.path + "/a/b/share";
    const struct {
        const char* share;
        const char* home;
        std::string expected;
    } cases[] = {
        {share.c_str(), home.c_str(), share},
        {nullptr, home.c_str(), home + "/.local/share"},
        {"", home.c_str(), home + "/.local/share"},
        {"relative", home.c_str(), home + "/.local/share"},
    };
    umask(0);
    for (const auto& [shareValue, homeValue, expected] : cases) {
        SCOPED_TRACE(expected);
        shareValue == nullptr ? unsetenv("XDG_DATA_HOME") : setenv("XDG_DATA_HOME", shareValue, 1);
        setenv("HOME", homeValue, 1);
        EXPECT_EQ(localDataFolder(), expected);
        EXPECT_TRUE(fs::is_directory(expected));
        EXPECT_EQ(rightsOf(expected), 0700U);
        EXPECT_EQ(rightsOf(fs::path(expected).parent_path()), 0700U);
        fs::remove_all(home);
    }
}

TEST(ExecutableFolder, HoldsThisProgram) {
    const std::string name = fs::read_symlink("/proc/self/exe").filename().string();
    EXPECT_TRUE(fs::equivalent(fs::path(executableFolder()) / name, "/proc/self/exe"));
}

// Where standard error is a pipe that nobody reads any more, the signal would end the program.
TEST(DebugOutput, SurvivesAReaderThatIsGone) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const int kept = dup(STDERR_FILENO);
    signal(SIGPIPE, SIG_DFL);
    dup2(ends[1], STDERR_FILENO);
    close(ends[1]);
    debugOutput("one line\n");
    char text[64] = {};
    EXPECT_EQ(read(ends[0], text, sizeof text), 9);
    EXPECT_STREQ(text, "one line\n");
    close(ends[0]);
    debugOutput("nobody reads this\n");
    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
    dup2(kept, STDERR_FILENO);
}

TEST(PhysicalCoreCount, IsBetweenOneAndTheLogicalProcessors) {
    EXPECT_GE(physicalCoreCount(), 1);
    const auto logical = static_cast<int32_t>(sysconf(_SC_NPROCESSORS_CONF));
    // 4 stands for "can't be found out".
    EXPECT_LE(physicalCoreCount(), fs::exists("/sys/devices/system/cpu/cpu0/topology") ? logical : 4);
}

TEST(FreeDiskSpace, IsThatOfTheVolume) {
    const TemporaryFolder folder;
    const auto bytes = freeDiskSpace(folder.path);
    ASSERT_TRUE(bytes);
    // Others write to the same volume; a wrong unit is wrong by a factor of 512 or more.
    const auto expected = static_cast<double>(fs::space(folder.path).available);
    EXPECT_NEAR(static_cast<double>(*bytes), expected, expected / 4);
    EXPECT_FALSE(freeDiskSpace(folder.path + "/missing"));
}

TEST(VolumeName, IsTheMountPoint) {
    const TemporaryFolder folder;
    const std::string volume = volumeName(folder.path);
    EXPECT_EQ(mountPoints().count(volume), 1U) << volume;
    EXPECT_EQ((folder.path + "/").rfind(volume, 0), 0U);
    EXPECT_EQ(volumeName(folder.path + "/missing/too/../file"), volume);
    EXPECT_EQ(volumeName("/"), "/");

    EXPECT_EQ(volumeName("/proc/self/missing"), "/proc");
    fs::create_symlink("/proc/self", folder.path + "/link");
    EXPECT_EQ(volumeName(folder.path + "/link"), "/proc");
    EXPECT_EQ(volumeName(folder.path + "/link/missing"), "/proc");

    fs::current_path("/proc");
    EXPECT_EQ(volumeName("missing"), "/proc");
}

TEST(LocalTime, IsInTheUsersTimeZone) {
    setenv("TZ", "XYZ-5:30", 1);
    tzset();
    const std::tm time = localTime(1700000000);  // 2023-11-14 22:13:20 UTC
    EXPECT_EQ(time.tm_year, 123);
    EXPECT_EQ(time.tm_mon, 10);
    EXPECT_EQ(time.tm_mday, 15);
    EXPECT_EQ(time.tm_hour, 3);
    EXPECT_EQ(time.tm_min, 43);
    EXPECT_EQ(time.tm_sec, 20);
}

// NOLINTEND(concurrency-mt-unsafe)
