#include "engines/ServerLaunch.h"

#include <algorithm>
#include <filesystem>

#include "foundation/Files.h"
#include "foundation/HttpClient.h"
#include "foundation/Paths.h"
#include "foundation/Ticks.h"

namespace {

constexpr uint64_t healthPauseMs = 200;

ServerStart waitForHealth(const ServerLaunch& launch, ChildProcess& process, CancelFlag* cancel) {
    const std::string url = "http://127.0.0.1:" + std::to_string(launch.port) + launch.healthRoute;
    HttpRequest request;
    request.cancel = cancel;
    request.startsCancelled = false;
    request.connectTimeoutMs = 1000;
    request.receiveTimeoutMs = 1500;
    // The first pauses are short because a small model loads in no time; they don't count as tries.
    uint64_t pause = 5;
    for (int32_t done = 0; done < launch.healthTries;) {
        if (*cancel) return ServerStart::cancelled;
        if (process.hasExited()) return ServerStart::exited;
        // The answer must come from our own child: one that finds the port taken is about to exit.
        if (HttpClient::send(url, request).status == 200 && process.listensOn(launch.port))
            return ServerStart::ready;
        if (!pauseUnlessCancelled(pause, cancel)) return ServerStart::cancelled;
        if (pause == healthPauseMs) ++done;
        pause = std::min(2 * pause, healthPauseMs);
    }
    return ServerStart::timedOut;
}

}  // namespace

ServerStart startServer(const ServerLaunch& launch, ChildProcess& slot, CancelFlag* cancel) {
    slot.end();
    if (launch.sharesPort && isPortTaken(launch.port)) return ServerStart::portTaken;
    ProcessOptions options;
    options.executable = launch.executable;
    options.arguments = {"-m", launch.model, "--host", "127.0.0.1", "--port", std::to_string(launch.port)};
    options.arguments.insert(options.arguments.end(), launch.options.begin(), launch.options.end());
    options.workingFolder = std::filesystem::path(launch.executable).parent_path().string();
    options.logFile = joinPath(dataFolder(), launch.logName);
    options.raisePriority = launch.raisePriority;
    if (!slot.start(options)) return ServerStart::notCreated;
    return waitForHealth(launch, slot, cancel);
}
