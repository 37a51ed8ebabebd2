#pragma once

#include <cstdint>
#include <string>

#include "foundation/Callbacks.h"
#include "platform/process.h"

/// How the wait for a server ended.
enum class ServerHealth {
    ready,
    exited,    ///< it ended by itself and was let go
    timedOut,  ///< it is left loading
    cancelled  ///< likewise
};

/// Waits until the server that `process` holds answers a GET of `route` on this loopback port with 200,
/// asking `tries` times with 200 ms between two. Only our own child counts: an answer from a stranger on the
/// port is none. Threads: any; blocks, and sees `cancel` within 100 ms.
ServerHealth waitForHealth(ChildProcess& process, int32_t port, const std::string& route, int32_t tries,
                           CancelFlag* cancel);
