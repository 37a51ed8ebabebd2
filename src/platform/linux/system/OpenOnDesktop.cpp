#include <fcntl.h>
#include <linux/close_range.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <system_error>

#include "platform/linux/processes/Spawner.h"
#include "platform/system.h"

namespace {

/// The program's full path by the search path, empty when it isn't installed.
std::string findProgram(const char* name) {
    const char* folders = std::getenv("PATH");  // NOLINT(concurrency-mt-unsafe): nothing sets it while we run
    if (folders == nullptr) return {};
    std::istringstream search(folders);
    for (std::string folder; std::getline(search, folder, ':');) {
        std::string path = folder + "/" + name;
        std::error_code error;
        const bool isProgram = !folder.empty() && std::filesystem::is_regular_file(path, error);
        if (isProgram && access(path.c_str(), X_OK) == 0) return path;
    }
    return {};
}

/// Runs in a child; async-signal-safe calls only.
[[noreturn]] void openInGrandchild(const char* program, char* const* arguments) {
    setsid();
    // A grandchild belongs to nobody here: it lives on, and needs no waiting for.
    if (_Fork() == 0) {
        const int nothing = open("/dev/null", O_RDWR);
        for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            dup2(nothing, standard);
        close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
        resetSignals();
        execv(program, arguments);
    }
    exitFork(0);
}

}  // namespace

void openOnDesktop(const std::string& target) {
    std::string program = findProgram("xdg-open");
    if (program.empty()) return;
    // One argument, no shell: nothing in the target is anything but the target.
    std::string argument = target;
    char* const arguments[] = {program.data(), argument.data(), nullptr};
    // Our own signal handlers must not run in the copies of this process.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t child = _Fork();
    if (child == 0) openInGrandchild(program.c_str(), arguments);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (child > 0) reapProcess(child);
}
