#include "platform/process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "support/Soon.h"
#include "support/TemporaryFolder.h"
#include "support/TestData.h"

namespace {

namespace fs = std::filesystem;

/// Longer than anything here takes on the slowest machine; only a failing test waits for it.
constexpr int patienceMs = 30000;

/// Watches a process that is no child of ours. To be made while it lives: its number may go to another after
/// that.
struct Watch {
    explicit Watch(int64_t process) : handle(static_cast<int>(syscall(SYS_pidfd_open, process, 0))) {
        EXPECT_GE(handle, 0);
    }
    ~Watch() { close(handle); }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    [[nodiscard]] bool endsWithin(int milliseconds) const {
        pollfd watched = {handle, POLLIN, 0};
        return poll(&watched, 1, milliseconds) == 1;
    }

    int handle;
};

/// Neither a child that has ended nor one that never started is left as a zombie.
void expectNoChild() {
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

class Process : public testing::Test {
protected:
    [[nodiscard]] std::string logged() const { return fileText(log); }

    /// The number in the first line of the log, once a child has written it.
    [[nodiscard]] int firstNumber() const {
        EXPECT_TRUE(soon([&] { return logged().find('\n') != std::string::npos; }));
        return std::stoi(logged());
    }

    [[nodiscard]] ProcessOptions shell(const std::string& script) const {
        return {.executable = "/bin/sh", .arguments = {"-c", script}, .logFile = log};
    }

    void signalChild(int number) const { ASSERT_EQ(kill(static_cast<pid_t>(child.id()), number), 0); }

    /// What the program leaves in the log.
    std::string outputOf(const ProcessOptions& options) {
        EXPECT_TRUE(child.start(options));
        EXPECT_TRUE(child.waitForExit(patienceMs));
        return logged();
    }

    const TemporaryFolder folder;
    const std::string log = folder.path + "/log";
    const ProcessOptions sleeper{.executable = "/bin/sleep", .arguments = {"600"}};
    ChildProcess child;
};

TEST_F(Process, HandsArgumentsOverAsTheyAre) {
    ProcessOptions options = shell(R"(printf '<%s>' "$@")");
    options.arguments.emplace_back("name");
    std::string expected;
    for (const char* argument : {"plain", "two words", "", "a\"b", "it's", "back\\slash", "$HOME `id`", "*",
                                 "--flag=x y", "line\nbreak", "na\xC3\xAFve \xE2\x9C\x93"}) {
        options.arguments.emplace_back(argument);
        expected += std::string("<") + argument + ">";
    }
    EXPECT_EQ(outputOf(options), expected);
}

TEST_F(Process, BeginsTheLogAfreshWithBothOutputs) {
    EXPECT_EQ(outputOf(shell("echo a rather long first run; echo of it >&2")),
              "a rather long first run\nof it\n");
    EXPECT_EQ(outputOf(shell("echo second >&2; echo run")), "second\nrun\n");

    // A log that can't be opened: the output goes where that of this process goes.
    const int kept = dup(STDOUT_FILENO);
    const int file = open(log.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    std::fflush(stdout);
    dup2(file, STDOUT_FILENO);
    ProcessOptions inheriting = shell("echo inherited");
    inheriting.logFile = folder.path + "/missing/log";
    EXPECT_EQ(outputOf(inheriting), "inherited\n");
    dup2(kept, STDOUT_FILENO);
}

// What a program may take for granted when it starts, though this process has ignored and blocked signals,
// and a file open that a library forgot to mark.
TEST_F(Process, GivesTheChildACleanStart) {
    ASSERT_GE(open((folder.path + "/leaked").c_str(), O_RDWR | O_CREAT, 0600), 0);
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);

    const std::string workingFolder = fs::canonical(folder.path);
    const auto expect = [&](const ProcessOptions& options, const std::string& expected) {
        EXPECT_EQ(outputOf(options), expected) << options.executable;
    };
    expect({"/bin/pwd", {"-P"}, workingFolder, log}, workingFolder + "\n");
    expect({"/bin/readlink", {"/proc/self/fd/0"}, "", log}, "/dev/null\n");
    expect({"/bin/sh", {"-c", R"(set -- $(cat /proc/$$/stat); [ "$5" = $$ ] && echo leads)"}, "", log},
           "leads\n");
    expect({"/bin/grep", {"-E", "^Sig(Blk|Ign)", "/proc/self/status"}, "", log},
           "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
    // The last is its own, of the folder that it lists.
    expect({"/bin/ls", {"/proc/self/fd"}, "", log}, "0\n1\n2\n3\n");

    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], "told", 4), 4);
    close(ends[1]);
    expect({"/bin/cat", {}, "", log, ends[0]}, "told");
    EXPECT_EQ(close(ends[0]), 0) << "it stays the caller's";
}

// A new file takes the lowest free number, so that the log may land on one of the standard three.
TEST_F(Process, StartsFromAProgramWithItsStandardFilesClosed) {
    const int kept[] = {dup(0), dup(1), dup(2)};
    for (int number = 0; number < 3; ++number)
        close(number);
    const bool isStarted = child.start(shell("cat; echo out; echo err >&2"));
    const bool isMissingStarted = ChildProcess().start({.executable = "/no/such/program"});
    for (int number = 0; number < 3; ++number)
        dup2(kept[number], number);
    EXPECT_TRUE(isStarted && !isMissingStarted && child.waitForExit(patienceMs));
    EXPECT_EQ(logged(), "out\nerr\n");
}

TEST_F(Process, SaysNoWhenTheProgramCannotBeStarted) {
    const std::string text = folder.path + "/text";
    const std::string garbage = folder.path + "/garbage";
    std::ofstream(text) << "not a program";
    std::ofstream(garbage) << "not a program";
    ASSERT_EQ(chmod(garbage.c_str(), 0700), 0);
    std::vector<ProcessOptions> cases(1, sleeper);
    cases[0].workingFolder = folder.path + "/missing";
    for (const std::string& executable :
         {folder.path + "/missing", std::string(), folder.path, text, garbage})
        cases.push_back({.executable = executable});
    for (const ProcessOptions& options : cases) {
        SCOPED_TRACE(options.executable);
        ASSERT_TRUE(child.start(sleeper));
        EXPECT_FALSE(child.start(options));
        EXPECT_TRUE(!child.isHeld() && child.id() == 0 && child.hasExited());
        expectNoChild();
    }
}

TEST_F(Process, TellsWhetherTheChildHasEnded) {
    EXPECT_FALSE(child.isHeld());
    EXPECT_TRUE(child.hasExited() && child.waitForExit(patienceMs));

    // The kernel ties the death signal to the thread that forked: a child outlives that thread.
    bool isStarted = false;
    ProcessOptions options = sleeper;
    options.raisePriority = true;
    std::thread([&] { isStarted = child.start(options); }).join();
    ASSERT_TRUE(isStarted && child.isHeld());
    EXPECT_FALSE(child.hasExited() || child.waitForExit(200));
    const int normal = getpriority(PRIO_PROCESS, 0);
    const bool isAllowed = setpriority(PRIO_PROCESS, 0, -5) == 0;
    EXPECT_EQ(getpriority(PRIO_PROCESS, static_cast<id_t>(child.id())), isAllowed ? -5 : normal);

    signalChild(SIGKILL);
    EXPECT_TRUE(child.waitForExit(patienceMs));
    EXPECT_TRUE(!child.isHeld() && child.id() == 0 && child.hasExited());
    child.end();
    expectNoChild();
}

TEST_F(Process, EndsAStubbornChildWithItsOwnChildren) {
    ASSERT_TRUE(child.start(shell("trap '' TERM INT HUP; sleep 600 & echo $!; wait; sleep 600")));
    const Watch grandchild(firstNumber());
    signalChild(SIGTERM);
    EXPECT_FALSE(child.waitForExit(50));
    child.end();
    expectNoChild();
    EXPECT_TRUE(grandchild.endsWithin(patienceMs));
}

TEST_F(Process, EndsAChildThatIsReplacedMovedOntoOrDestroyed) {
    ASSERT_TRUE(child.start(sleeper));
    const Watch first(child.id());
    ASSERT_TRUE(child.start(sleeper));
    EXPECT_TRUE(first.endsWithin(patienceMs));

    const Watch second(child.id());
    {
        ChildProcess other;
        ASSERT_TRUE(other.start(sleeper));
        const Watch third(other.id());
        child = std::move(other);
        EXPECT_TRUE(second.endsWithin(patienceMs));
        EXPECT_FALSE(other.isHeld());  // NOLINT(bugprone-use-after-move): the contract says what is left
        ChildProcess last(std::move(child));
        EXPECT_FALSE(child.isHeld());  // NOLINT(bugprone-use-after-move)
        EXPECT_FALSE(last.hasExited());
        EXPECT_FALSE(third.endsWithin(0));
    }
    expectNoChild();
}

TEST_F(Process, StartsOnManyThreadsAtOnceAndLeavesNoFileOpen) {
    const auto startSome = [] {
        for (int round = 0; round < 5; ++round) {
            ChildProcess own;
            EXPECT_TRUE(own.start({.executable = "/bin/true"}));
            EXPECT_TRUE(own.waitForExit(patienceMs));
            EXPECT_FALSE(own.start({.executable = "/no/such/program"}));
        }
    };
    const auto openFiles = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); };
    startSome();
    const auto before = openFiles();
    std::thread threads[6];
    for (std::thread& thread : threads)
        thread = std::thread(startSome);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(openFiles(), before);
}

TEST_F(Process, TellsItsOwnListenerFromAStranger) {
    ChildProcess stranger;
    ASSERT_TRUE(stranger.start({PROCESS_PARENT, {"listen", "127.0.0.1"}, "", log}));
    const int strangersPort = firstNumber();
    EXPECT_TRUE(isPortTaken(strangersPort));
    for (const std::string address : {"127.0.0.1", "0.0.0.0", "::1", "::"}) {
        SCOPED_TRACE(address);
        ASSERT_TRUE(child.start({PROCESS_PARENT, {"listen", address}, "", log}));
        const int port = firstNumber();
        if (port == 0 && address.find(':') != std::string::npos) continue;  // this machine has no IPv6
        ASSERT_GT(port, 0);
        EXPECT_TRUE(child.listensOn(port));
        EXPECT_FALSE(child.listensOn(strangersPort) || child.listensOn(0));
        // A child that has ended, and nobody has asked yet.
        const Watch watch(child.id());
        signalChild(SIGKILL);
        ASSERT_TRUE(watch.endsWithin(patienceMs));
        EXPECT_FALSE(child.listensOn(port) || child.listensOn(strangersPort) || isPortTaken(port));
        child.end();
        EXPECT_FALSE(child.listensOn(strangersPort));
    }
}

TEST_F(Process, DiesWithTheProgramHoweverThatEnds) {
    for (const auto& [mode, number] :
         {std::pair{"abort", SIGKILL}, std::pair{"abort", SIGTERM}, std::pair{"abort", SIGUSR1},
          std::pair{"throw", SIGUSR1}, std::pair{"exit", SIGUSR1}}) {
        SCOPED_TRACE(std::string(mode) + " by signal " + std::to_string(number));
        ASSERT_TRUE(child.start({PROCESS_PARENT, {mode}, "", log}));
        const Watch grandchild(firstNumber());
        EXPECT_FALSE(grandchild.endsWithin(100));
        signalChild(number);
        ASSERT_TRUE(child.waitForExit(patienceMs));
        ASSERT_TRUE(grandchild.endsWithin(patienceMs));
    }
}

}  // namespace
