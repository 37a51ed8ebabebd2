#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/Callbacks.h"
#include "platform/process.h"

/// What an engine's server is started with, and how it shows that it is ready.
struct ServerLaunch {
    std::string executable;            ///< full path; the server runs in its folder
    std::string model;                 ///< full path
    int32_t port = 0;                  ///< on loopback
    std::vector<std::string> options;  ///< after those for model, host and port
    std::string logName;               ///< file in the data folder for its output, begun anew
    bool raisePriority = false;
    bool sharesPort = false;  ///< it doesn't notice that its port is taken, so it must be checked beforehand
    std::string healthRoute;  ///< a GET of it returns 200 once the server is ready
    int32_t healthTries = 0;  ///< requests to that route, 200 ms apart
};

/// How the start of a server ended.
enum class ServerStart {
    ready,
    portTaken,   ///< by another program; nothing was started
    notCreated,  ///< no process could be created
    exited,      ///< it ended while loading
    timedOut,    ///< it is left loading
    cancelled    ///< likewise
};

/// Ends the server in `slot`, starts this one in its place and waits until it is ready. Only an answer from
/// our own child counts: another program on the port is never taken for it. Threads: any; blocks, and notices
/// `cancel` within 100 ms.
[[nodiscard]] ServerStart startServer(const ServerLaunch& launch, ChildProcess& slot, CancelFlag* cancel);
