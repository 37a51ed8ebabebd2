#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>

/// Whether the process itself has a socket that listens on this TCP port, whatever the address; nothing when
/// the kernel doesn't tell. A process that has ended gives either.
std::optional<bool> listensOnPort(pid_t process, int32_t port);
