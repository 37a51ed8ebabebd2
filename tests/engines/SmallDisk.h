#pragma once

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstdint>
#include <string>

#include "foundation/Files.h"

/// Mounts an empty disk of this size over a folder, until the process ends and only for the calling thread
/// and those that it starts. Returns false without the right to do so, which root has, or user namespaces
/// give.
[[nodiscard]] inline bool mountSmallDisk(const std::string& folder, uint64_t bytes) {
    const std::string user = "0 " + std::to_string(geteuid()) + " 1";
    if (unshare(CLONE_NEWNS) != 0 &&
        (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0 || !writeWholeFile("/proc/self/uid_map", user)))
        return false;
    // Private, so that nobody else sees the mount.
    const std::string size = "size=" + std::to_string(bytes);
    return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("tmpfs", folder.c_str(), "tmpfs", 0, size.c_str()) == 0;
}
