#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "platform/system.h"

namespace {

int openLockFile(const std::string& path) {
    return open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
}

/// A file of this user's alone. It stays when the lock on it is given back: removing it could take it away
/// from under another process that has just opened it.
int openLockFileOf(const std::string& name) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing sets it while we run
    const char* folder = std::getenv("XDG_RUNTIME_DIR");
    const int file =
        folder != nullptr && *folder == '/' ? openLockFile(std::string(folder) + "/" + name) : -1;
    return file >= 0 ? file : openLockFile("/tmp/" + name + "-" + std::to_string(getuid()));
}

bool isOwn(int file) {
    struct stat status = {};
    return fstat(file, &status) == 0 && status.st_uid == geteuid();
}

}  // namespace

SingleInstance::SingleInstance(const std::string& name) {
    const int file = openLockFileOf(name);
    if (file < 0) {
        return;
    }
    // /tmp is everybody's: another user's lock on a file of that name says nothing about this user.
    if (!isOwn(file)) {
        close(file);
        return;
    }
    first = flock(file, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
    handle = file;
}

SingleInstance::~SingleInstance() {
    if (handle >= 0) {
        close(static_cast<int>(handle));
    }
}
