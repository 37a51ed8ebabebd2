#include "platform/process.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "support/TemporaryFolder.h"

namespace {

/// Longer than anything here takes on the slowest machine; only a failing test waits for it.
constexpr int patienceMs = 30000;

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

/// The first line of a file that a child writes, without its end; empty when it never comes.
std::string awaitLine(const std::string& path) {
    for (int waited = 0; waited < patienceMs; waited += 10) {
        const std::string content = readFile(path);
        if (const size_t end = content.find('\n'); end != std::string::npos) {
            return content.substr(0, end);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return {};
}

/// Watches a process that is no child of ours. To be made while it lives: its number may go to another after
/// that.
struct Watch {
    explicit Watch(pid_t process) : handle(static_cast<int>(syscall(SYS_pidfd_open, process, 0))) {}
    ~Watch() { close(handle); }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    [[nodiscard]] bool isValid() const { return handle >= 0; }
    [[nodiscard]] bool endsWithin(int milliseconds) const {
        pollfd watched = {handle, POLLIN, 0};
        return poll(&watched, 1, milliseconds) == 1;
    }

    int handle;
};

ProcessOptions shell(const std::string& script, const std::string& logFile = "") {
    ProcessOptions options;
    options.executable = "/bin/sh";
    options.arguments = {"-c", script};
    options.logFile = logFile;
    return options;
}

ProcessOptions sleeper() {
    return {.executable = "/bin/sleep", .arguments = {"600"}};
}

size_t openFileCount() {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

/// A socket of this process that listens on a free port.
int listenHere(int32_t& port) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in where = {};
    where.sin_family = AF_INET;
    where.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof where;
    EXPECT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&where), size), 0);
    EXPECT_EQ(listen(listener, 1), 0);
    EXPECT_EQ(getsockname(listener, reinterpret_cast<sockaddr*>(&where), &size), 0);
    port = ntohs(where.sin_port);
    return listener;
}

}  // namespace

TEST(Process, HandsArgumentsOverAsTheyAre) {
    const TemporaryFolder folder;
    const std::vector<std::string> given = {"plain",
                                            "two words",
                                            "",
                                            "a\"b",
                                            "it's",
                                            "back\\slash",
                                            "$HOME `id`",
                                            "*",
                                            "--flag=x y",
                                            "line\nbreak",
                                            "na\xC3\xAFve \xE2\x9C\x93"};
    ProcessOptions options = shell(R"(printf '<%s>' "$@")", folder.path + "/log");
    options.arguments.emplace_back("name");
    options.arguments.insert(options.arguments.end(), given.begin(), given.end());
    std::string expected;
    for (const std::string& argument : given) {
        expected += "<" + argument + ">";
    }

    ChildProcess child;
    ASSERT_TRUE(child.start(options));
    ASSERT_TRUE(child.waitForExit(patienceMs));
    EXPECT_EQ(readFile(options.logFile), expected);
}

TEST(Process, BeginsTheLogAfreshWithBothOutputs) {
    const TemporaryFolder folder;
    const std::string log = folder.path + "/log";
    ChildProcess child;
    ASSERT_TRUE(child.start(shell("echo a rather long first run; echo of it >&2", log)));
    ASSERT_TRUE(child.waitForExit(patienceMs));
    EXPECT_EQ(readFile(log), "a rather long first run\nof it\n");
    ASSERT_TRUE(child.start(shell("echo second >&2; echo run", log)));
    ASSERT_TRUE(child.waitForExit(patienceMs));
    EXPECT_EQ(readFile(log), "second\nrun\n");
}

TEST(Process, StartsWithoutRedirectionWhenTheLogCannotBeOpened) {
    const TemporaryFolder folder;
    const std::string output = folder.path + "/output";
    const int kept = dup(STDOUT_FILENO);
    const int file = open(output.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    std::fflush(stdout);
    dup2(file, STDOUT_FILENO);
    ChildProcess child;
    const bool isStarted = child.start(shell("echo inherited", folder.path + "/missing/log"));
    dup2(kept, STDOUT_FILENO);
    ASSERT_TRUE(isStarted);
    ASSERT_TRUE(child.waitForExit(patienceMs));
    EXPECT_EQ(readFile(output), "inherited\n");
}

// What a program may take for granted when it starts, though this process has ignored and blocked signals,
// and a file open that a library forgot to mark.
TEST(Process, GivesTheChildACleanStart) {
    const TemporaryFolder folder;
    const std::string leaked = folder.path + "/leaked";
    ASSERT_GE(open(leaked.c_str(), O_RDWR | O_CREAT, 0600), 0);
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);

    const std::string workingFolder = std::filesystem::canonical(folder.path);
    const struct {
        const char* executable;
        std::vector<std::string> arguments;
        std::string expected;  ///< "<id>" stands for the child's number
    } cases[] = {
        {"/bin/pwd", {"-P"}, workingFolder + "\n"},
        {"/bin/readlink", {"/proc/self/fd/0"}, "/dev/null\n"},
        {"/usr/bin/cut", {"-d", " ", "-f", "1,5", "/proc/self/stat"}, "<id> <id>\n"},
        {"/bin/grep",
         {"-E", "^Sig(Blk|Ign)", "/proc/self/status"},
         "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n"},
        {"/bin/ls", {"/proc/self/fd"}, "0\n1\n2\n3\n"},  // The last is its own, of the folder that it lists.
    };
    for (const auto& [executable, arguments, expected] : cases) {
        const std::string log = folder.path + "/log";
        ChildProcess child;
        ASSERT_TRUE(child.start({executable, arguments, workingFolder, log}));
        const std::string id = std::to_string(child.id());
        ASSERT_TRUE(child.waitForExit(patienceMs));
        std::string wanted = expected;
        for (size_t at = wanted.find("<id>"); at != std::string::npos; at = wanted.find("<id>")) {
            wanted.replace(at, 4, id);
        }
        EXPECT_EQ(readFile(log), wanted);
    }

    const std::string log = folder.path + "/log";
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], "told", 4), 4);
    close(ends[1]);
    ProcessOptions reader{"/bin/cat", {}, workingFolder, log};
    reader.standardInput = ends[0];
    ChildProcess child;
    ASSERT_TRUE(child.start(reader));
    ASSERT_TRUE(child.waitForExit(patienceMs));
    EXPECT_EQ(readFile(log), "told");
    EXPECT_EQ(close(ends[0]), 0);
}

TEST(Process, RaisesThePriorityWhereThatIsAllowed) {
    const int normal = getpriority(PRIO_PROCESS, 0);
    ProcessOptions options = sleeper();
    options.raisePriority = true;
    ChildProcess child;
    ASSERT_TRUE(child.start(options));
    const bool isAllowed = setpriority(PRIO_PROCESS, 0, -5) == 0;
    EXPECT_EQ(getpriority(PRIO_PROCESS, static_cast<id_t>(child.id())), isAllowed ? -5 : normal);
}

// A new file takes the lowest free number, so that the log may land on one of the standard three.
TEST(Process, StartsFromAProgramWithItsStandardFilesClosed) {
    const TemporaryFolder folder;
    const std::string log = folder.path + "/log";
    const int kept[] = {dup(0), dup(1), dup(2)};
    close(0);
    close(1);
    close(2);
    ChildProcess child;
    const bool isStarted = child.start(shell("cat; echo out; echo err >&2", log));
    const bool isMissingStarted = ChildProcess().start({.executable = "/no/such/program"});
    for (int number = 0; number < 3; ++number) {
        dup2(kept[number], number);
    }
    ASSERT_TRUE(isStarted);
    EXPECT_FALSE(isMissingStarted);
    ASSERT_TRUE(child.waitForExit(patienceMs));
    EXPECT_EQ(readFile(log), "out\nerr\n");
}

TEST(Process, SaysNoWhenTheProgramCannotBeStarted) {
    const TemporaryFolder folder;
    const std::string noProgram = folder.path + "/text";
    std::ofstream(noProgram) << "not a program";
    const std::string garbage = folder.path + "/garbage";
    std::ofstream(garbage) << "not a program";
    ASSERT_EQ(chmod(garbage.c_str(), 0700), 0);
    ProcessOptions noFolder = sleeper();
    noFolder.workingFolder = folder.path + "/missing";

    const std::pair<const char*, ProcessOptions> cases[] = {
        {"no such file", {.executable = folder.path + "/missing"}},
        {"no name", {}},
        {"a folder", {.executable = folder.path}},
        {"not executable", {.executable = noProgram}},
        {"not a program", {.executable = garbage}},
        {"no working folder", noFolder},
    };
    ChildProcess child;
    for (const auto& [what, options] : cases) {
        SCOPED_TRACE(what);
        ASSERT_TRUE(child.start(sleeper()));
        EXPECT_FALSE(child.start(options));
        EXPECT_FALSE(child.isHeld());
        EXPECT_EQ(child.id(), 0);
        EXPECT_TRUE(child.hasExited());
        // Neither the child that was held nor the failed one is left as a zombie.
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
        EXPECT_EQ(errno, ECHILD);
    }
}

TEST(Process, TellsWhetherTheChildHasEnded) {
    ChildProcess child;
    EXPECT_FALSE(child.isHeld());
    EXPECT_TRUE(child.hasExited());
    EXPECT_TRUE(child.waitForExit(patienceMs));

    ASSERT_TRUE(child.start(sleeper()));
    EXPECT_TRUE(child.isHeld());
    EXPECT_GT(child.id(), 0);
    EXPECT_FALSE(child.hasExited());
    EXPECT_FALSE(child.waitForExit(50));
    EXPECT_TRUE(child.isHeld());

    ASSERT_EQ(kill(static_cast<pid_t>(child.id()), SIGKILL), 0);
    EXPECT_TRUE(child.waitForExit(patienceMs));
    EXPECT_FALSE(child.isHeld());
    EXPECT_EQ(child.id(), 0);
    EXPECT_TRUE(child.hasExited());
    child.end();
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

// The kernel ties the death signal to the thread that forked.
TEST(Process, OutlivesTheThreadThatStartedIt) {
    ChildProcess child;
    bool isStarted = false;
    std::thread([&] { isStarted = child.start(sleeper()); }).join();
    ASSERT_TRUE(isStarted);
    EXPECT_FALSE(child.waitForExit(300));
}

TEST(Process, EndsAStubbornChildWithItsOwnChildren) {
    const TemporaryFolder folder;
    const std::string log = folder.path + "/log";
    ChildProcess child;
    ASSERT_TRUE(child.start(shell("trap '' TERM INT HUP; sleep 600 & echo $!; wait; sleep 600", log)));
    const Watch grandchild(std::stoi(awaitLine(log)));
    ASSERT_TRUE(grandchild.isValid());
    const auto id = static_cast<pid_t>(child.id());
    ASSERT_EQ(kill(id, SIGTERM), 0);
    EXPECT_FALSE(child.waitForExit(50));

    child.end();
    EXPECT_FALSE(child.isHeld());
    EXPECT_EQ(kill(id, 0), -1);
    EXPECT_TRUE(grandchild.endsWithin(patienceMs));
}

TEST(Process, EndsAChildThatIsReplacedMovedOntoOrDestroyed) {
    ChildProcess child;
    ASSERT_TRUE(child.start(sleeper()));
    const Watch first(static_cast<pid_t>(child.id()));
    ASSERT_TRUE(child.start(sleeper()));
    EXPECT_TRUE(first.endsWithin(patienceMs));

    const Watch second(static_cast<pid_t>(child.id()));
    {
        ChildProcess other;
        ASSERT_TRUE(other.start(sleeper()));
        const Watch third(static_cast<pid_t>(other.id()));
        child = std::move(other);
        EXPECT_TRUE(second.endsWithin(patienceMs));
        EXPECT_FALSE(other.isHeld());  // NOLINT(bugprone-use-after-move): the contract says what is left
        ChildProcess last(std::move(child));
        EXPECT_FALSE(child.isHeld());  // NOLINT(bugprone-use-after-move)
        EXPECT_FALSE(last.hasExited());
        EXPECT_FALSE(third.endsWithin(0));
    }
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST(Process, StartsOnManyThreadsAtOnceAndLeavesNoFileOpen) {
    const auto startSome = [] {
        for (int round = 0; round < 5; ++round) {
            ChildProcess child;
            EXPECT_TRUE(child.start({.executable = "/bin/true"}));
            EXPECT_TRUE(child.waitForExit(patienceMs));
            EXPECT_FALSE(child.start({.executable = "/no/such/program"}));
        }
    };
    startSome();
    const size_t before = openFileCount();
    std::array<std::thread, 6> threads;
    for (std::thread& thread : threads) {
        thread = std::thread(startSome);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(openFileCount(), before);
}

TEST(Process, TellsItsOwnListenerFromAStranger) {
    const TemporaryFolder folder;
    int32_t strangersPort = 0;
    const int stranger = listenHere(strangersPort);
    for (const std::string address : {"127.0.0.1", "0.0.0.0", "::1", "::"}) {
        SCOPED_TRACE(address);
        const std::string log = folder.path + "/log";
        ChildProcess child;
        ASSERT_TRUE(
            child.start({.executable = PROCESS_PARENT, .arguments = {"listen", address}, .logFile = log}));
        const int port = std::stoi(awaitLine(log));
        if (port == 0 && address.find(':') != std::string::npos) {
            continue;  // This machine has no IPv6.
        }
        ASSERT_GT(port, 0);
        EXPECT_TRUE(child.listensOn(port));
        EXPECT_FALSE(child.listensOn(strangersPort));
        EXPECT_FALSE(child.listensOn(0));
        // A child that has ended but was not asked after yet.
        ASSERT_EQ(kill(static_cast<pid_t>(child.id()), SIGKILL), 0);
        const Watch watch(static_cast<pid_t>(child.id()));
        ASSERT_TRUE(watch.endsWithin(patienceMs));
        EXPECT_FALSE(child.listensOn(port));
        EXPECT_FALSE(child.listensOn(strangersPort));
        child.end();
        EXPECT_FALSE(child.listensOn(strangersPort));
    }
    close(stranger);
}

TEST(Process, DiesWithTheProgramHoweverThatEnds) {
    const TemporaryFolder folder;
    const struct {
        const char* mode;
        int signal;
    } cases[] = {
        {"abort", SIGKILL}, {"abort", SIGTERM}, {"abort", SIGUSR1}, {"throw", SIGUSR1}, {"exit", SIGUSR1},
    };
    for (const auto& [mode, number] : cases) {
        SCOPED_TRACE(std::string(mode) + " by signal " + std::to_string(number));
        const std::string log = folder.path + "/log";
        ChildProcess program;
        ASSERT_TRUE(program.start({.executable = PROCESS_PARENT, .arguments = {mode}, .logFile = log}));
        const std::string line = awaitLine(log);
        ASSERT_NE(line, "no child");
        const Watch child(std::stoi(line));
        ASSERT_TRUE(child.isValid());
        EXPECT_FALSE(child.endsWithin(100));

        ASSERT_EQ(kill(static_cast<pid_t>(program.id()), number), 0);
        ASSERT_TRUE(program.waitForExit(patienceMs));
        ASSERT_TRUE(child.endsWithin(patienceMs));
    }
}
