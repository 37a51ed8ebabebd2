#include "platform/system.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "support/Soon.h"
#include "support/TemporaryFolder.h"
#include "support/TestData.h"

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
            if (write(ends[1], &answer, 1) == 1) pause();
            _exit(1);
        }
        char answer = '?';
        EXPECT_EQ(read(ends[0], &answer, 1), 1);
        isFirst = answer == 'y';
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

TEST(SingleInstance, BelongsToOneProcessUntilThatIsKilled) {
    {
        const Holder first;
        EXPECT_TRUE(first.isFirst);
        EXPECT_FALSE(Holder().isFirst);
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
        process = vfork();  // goes on here once the other program runs
        if (process == 0) _exit(execl("/bin/sleep", "sleep", "600", nullptr));
    }
    EXPECT_TRUE(soon([] { return SingleInstance(instanceName).isFirst(); }))
        << "it closes its files shortly after";
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
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
    EXPECT_NE(fileText("/proc/self/mounts").find(" " + volume + " "), std::string::npos) << volume;
    EXPECT_EQ((folder.path + "/").rfind(volume, 0), 0U);
    EXPECT_EQ(volumeName(folder.path + "/missing/too/../file"), volume);

    fs::create_symlink("/proc/self", folder.path + "/link");
    fs::current_path("/proc");
    const std::string link = folder.path + "/link";
    for (const std::string& path :
         {std::string("/proc/self/missing"), std::string("missing"), link, link + "/x"})
        EXPECT_EQ(volumeName(path), "/proc") << path;
    EXPECT_EQ(volumeName("/"), "/");
}

TEST(LocalTime, IsInTheUsersTimeZone) {
    setenv("TZ", "XYZ-5:30", 1);
    tzset();
    std::tm time = localTime(1700000000);  // 2023-11-14 22:13:20 UTC
    char text[32];
    EXPECT_GT(std::strftime(text, sizeof text, "%F %T", &time), 0U);
    EXPECT_STREQ(text, "2023-11-15 03:43:20");
}

}  // namespace

// NOLINTEND(concurrency-mt-unsafe)
