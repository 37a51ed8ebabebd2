#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>

/// Returns whether the process itself has a socket that listens on this TCP port, on any address; nothing
/// when the kernel doesn't tell. For a process that has ended the result is undefined. Threads: any.
std::optional<bool> listensOnPort(pid_t process, int32_t port);
