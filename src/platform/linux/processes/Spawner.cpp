#include "platform/linux/processes/Spawner.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/linux/processes/FileDescriptor.h"

namespace {

/// Below 0 is above normal, -20 the most; enough to be served before what runs in the background.
constexpr int raisedPriority = -5;

/// All that the child needs between fork and exec, where it may not ask for memory: another thread may have
/// held the allocator's lock when the process was copied.
struct Launch {
    const char* executable = nullptr;
    char* const* arguments = nullptr;
    const char* workingFolder = nullptr;  ///< null: that of this process
    int input = -1;
    int output = -1;  ///< -1: inherited
    bool raisePriority = false;
};

/// Runs in the child; async-signal-safe calls only. Returns on failure.
void becomeProgram(const Launch& launch, pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {
        return;  // The parent died before the death signal was asked for; nobody would ever end this child.
    }
    setpgid(0, 0);
    if (launch.workingFolder != nullptr && chdir(launch.workingFolder) != 0) {
        return;
    }
    if (dup2(launch.input, STDIN_FILENO) < 0) {
        return;
    }
    if (launch.output >= 0 &&
        (dup2(launch.output, STDOUT_FILENO) < 0 || dup2(launch.output, STDERR_FILENO) < 0)) {
        return;
    }
    if (launch.raisePriority) {
        setpriority(PRIO_PROCESS, 0, raisedPriority);
    }
    // Our own files are opened close-on-exec already; this is for those of libraries.
    close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    resetSignals();
    execv(launch.executable, launch.arguments);
}

/// The child, or -1. It tells of a failure through a pipe that closes by itself when the new program starts.
pid_t forkAndExec(const Launch& launch) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return -1;
    }
    FileDescriptor reading(ends[0]);
    FileDescriptor writing = aboveStandard(FileDescriptor(ends[1]));
    if (!writing.isOpen()) {
        return -1;
    }
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child < 0) {
        return -1;
    }
    if (child == 0) {
        becomeProgram(launch, parent);
        const char failed = 1;
        [[maybe_unused]] const ssize_t told = write(writing.number, &failed, sizeof failed);
        exitFork(127);
    }
    writing.close();
    char failed = 0;
    ssize_t count = 0;
    do {
        count = read(reading.number, &failed, sizeof failed);
    } while (count < 0 && errno == EINTR);
    if (count != 0) {
        reapProcess(child);
        return -1;
    }
    return child;
}

/// The one thread that forks. The kernel sends the death signal when the *thread* that forked ends, so a
/// worker that starts a server and ends would take the server along; this thread ends with the process only.
class Spawner {
public:
    Spawner() {
        std::thread([this] { serve(); }).detach();
    }

    pid_t spawn(const Launch& launch) {
        const std::lock_guard turn(oneCaller);
        std::unique_lock lock(mutex);
        wanted = &launch;
        changed.notify_all();
        changed.wait(lock, [this] { return wanted == nullptr; });
        return child;
    }

private:
    [[noreturn]] void serve() {
        // No signal handler of the program may run here, nor in the child before its program does.
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, nullptr);
        std::unique_lock lock(mutex);
        for (;;) {
            changed.wait(lock, [this] { return wanted != nullptr; });
            child = forkAndExec(*wanted);
            wanted = nullptr;
            changed.notify_all();
        }
    }

    std::mutex oneCaller;
    std::mutex mutex;
    std::condition_variable changed;
    // Guarded by `mutex`.
    const Launch* wanted = nullptr;
    pid_t child = -1;
};

/// Never destroyed: its thread waits on it until the very end of the process.
Spawner& theSpawner() {
    static auto* const spawner = new Spawner;
    return *spawner;
}

}  // namespace

void exitFork(int code) {
    syscall(SYS_exit_group, code);
    __builtin_unreachable();
}

void resetSignals() {
    struct sigaction byDefault = {};
    byDefault.sa_handler = SIG_DFL;
    for (int number = 1; number <= SIGRTMAX; ++number) {
        sigaction(number, &byDefault, nullptr);
    }
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
}

pid_t spawnProcess(const ProcessOptions& options) {
    std::vector<char*> arguments;
    arguments.reserve(options.arguments.size() + 2);
    arguments.push_back(const_cast<char*>(options.executable.c_str()));
    for (const std::string& argument : options.arguments) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);

    const FileDescriptor nothing = aboveStandard(FileDescriptor(open("/dev/null", O_RDONLY | O_CLOEXEC)));
    FileDescriptor output;
    if (!options.logFile.empty()) {
        const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC;
        output = aboveStandard(FileDescriptor(open(options.logFile.c_str(), flags, 0600)));
    }

    Launch launch;
    launch.executable = options.executable.c_str();
    launch.arguments = arguments.data();
    launch.workingFolder = options.workingFolder.empty() ? nullptr : options.workingFolder.c_str();
    launch.input = options.standardInput >= 0 ? options.standardInput : nothing.number;
    launch.output = output.number;
    launch.raisePriority = options.raisePriority;
    try {
        return theSpawner().spawn(launch);
    } catch (const std::system_error&) {
        return -1;  // No thread to be had: the machine is out of memory or processes.
    }
}

void reapProcess(pid_t child) {
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
}
