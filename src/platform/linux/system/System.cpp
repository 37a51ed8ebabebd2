#include "platform/system.h"

#include <signal.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>

#include "platform/linux/system/UserFolders.h"

namespace fs = std::filesystem;

namespace {

std::atomic<bool> wantsToEnd = false;
static_assert(std::atomic<bool>::is_always_lock_free, "set by a signal handler");

/// Writes without the signal that a closed pipe would end the program with.
void writeToStandardError(const char* text, size_t size) {
    sigset_t brokenPipe;
    sigset_t before;
    sigset_t pending;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    sigpending(&pending);
    const bool wasPending = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &brokenPipe, &before);
    while (size > 0) {
        const ssize_t written = write(STDERR_FILENO, text, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            if (written < 0 && errno == EPIPE && !wasPending) {
                const timespec atOnce = {};
                sigtimedwait(&brokenPipe, nullptr, &atOnce);
            }
            break;
        }
        text += written;
        size -= static_cast<size_t>(written);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace

std::string localDataFolder() {
    std::string path = userFolder("XDG_DATA_HOME", "/.local/share");
    if (path.empty()) {
        return {};
    }
    createPrivateFolders(path);
    return path;
}

void createPrivateFolder(const std::string& path) {
    mkdir(path.c_str(), 0700);
}

std::string executableFolder() {
    std::error_code failure;
    return fs::read_symlink("/proc/self/exe", failure).parent_path().string();
}

void prepareProcess() {
    std::signal(SIGPIPE, SIG_IGN);
}

void catchTermination() {
    struct sigaction action = {};
    action.sa_handler = [](int) { wantsToEnd = true; };
    // A second request ends the process at once: it may be waiting for a display that has hung.
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        struct sigaction before = {};
        sigaction(signal, nullptr, &before);
        // Whoever started this without its terminal (nohup) wants it to stay.
        if (before.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);
    }
}

bool terminationRequested() {
    return wantsToEnd;
}

void debugOutput(const char* text) {
    writeToStandardError(text, std::strlen(text));
}

int32_t physicalCoreCount() {
    // Processors that share a core list the same siblings.
    std::set<std::string> cores;
    std::error_code failure;
    for (fs::directory_iterator processor("/sys/devices/system/cpu", failure);
         !failure && processor != fs::directory_iterator(); processor.increment(failure)) {
        std::ifstream file(processor->path() / "topology/thread_siblings_list");
        std::string siblings;
        if (std::getline(file, siblings) && !siblings.empty()) {
            cores.insert(siblings);
        }
    }
    constexpr int32_t whenUnknown = 4;
    return cores.empty() ? whenUnknown : static_cast<int32_t>(cores.size());
}

std::optional<uint64_t> freeDiskSpace(const std::string& path) {
    struct statvfs volume = {};
    if (statvfs(path.c_str(), &volume) != 0) {
        return std::nullopt;
    }
    return static_cast<uint64_t>(volume.f_bavail) * volume.f_frsize;
}

std::string volumeName(const std::string& path) {
    std::error_code failure;
    fs::path folder = fs::absolute(path, failure);
    struct stat here = {};
    while (stat(folder.c_str(), &here) != 0) {
        if (!folder.has_relative_path()) {
            return "/";
        }
        folder = folder.parent_path();
    }
    // Where the path leads in truth: a link may point to another volume.
    const fs::path real = fs::canonical(folder, failure);
    folder = failure ? folder : real;
    struct stat above = {};
    while (folder.has_relative_path() && stat(folder.parent_path().c_str(), &above) == 0 &&
           above.st_dev == here.st_dev) {
        folder = folder.parent_path();
    }
    return folder.string();
}

std::tm localTime(std::time_t time) {
    std::tm result = {};
    localtime_r(&time, &result);
    return result;
}
