#include "SmallDisk.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include "foundation/Files.h"

bool mountSmallDisk(const std::string& folder, uint64_t bytes) {
    if (geteuid() == 0) {
        if (unshare(CLONE_NEWNS) != 0) return false;
    } else {
        const std::string user = "0 " + std::to_string(geteuid()) + " 1";
        const std::string group = "0 " + std::to_string(getegid()) + " 1";
        if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
        writeWholeFile("/proc/self/setgroups", "deny");
        if (!writeWholeFile("/proc/self/uid_map", user) || !writeWholeFile("/proc/self/gid_map", group))
            return false;
    }
    // Private first, so that nobody else sees the mount.
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return false;
    const std::string size = "size=" + std::to_string(bytes);
    return mount("tmpfs", folder.c_str(), "tmpfs", 0, size.c_str()) == 0;
}

void takeRoom(const std::string& path, uint64_t bytes) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    // Piece by piece: all at once is refused when it is more than there is.
    constexpr uint64_t piece = 65536;
    for (uint64_t at = 0; at < bytes && posix_fallocate(file, static_cast<off_t>(at), piece) == 0;
         at += piece) {
    }
    close(file);
}
