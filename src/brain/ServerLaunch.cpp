#include "brain/ServerLaunch.h"

#include <algorithm>

#include "foundation/HttpClient.h"
#include "foundation/Ticks.h"

namespace {

constexpr uint64_t healthPauseMs = 200;

}  // namespace

ServerHealth waitForHealth(ChildProcess& process, int32_t port, const std::string& route, int32_t tries,
                           CancelFlag* cancel) {
    const std::string url = "http://127.0.0.1:" + std::to_string(port) + route;
    HttpRequest request;
    request.cancel = cancel;
    request.startsCancelled = false;
    request.connectTimeoutMs = 1000;
    request.receiveTimeoutMs = 1500;
    // The first pauses are short, for a small model is there in no time; they don't count as tries.
    uint64_t pause = 5;
    for (int32_t done = 0; done < tries;) {
        if (*cancel) return ServerHealth::cancelled;
        if (process.hasExited()) return ServerHealth::exited;
        // Whoever answers must be our own child: one that finds the port taken is about to exit.
        if (HttpClient::send(url, request).status == 200 && process.listensOn(port))
            return ServerHealth::ready;
        if (!pauseUnlessCancelled(pause, cancel)) return ServerHealth::cancelled;
        if (pause == healthPauseMs) ++done;
        pause = std::min(2 * pause, healthPauseMs);
    }
    return ServerHealth::timedOut;
}
