#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "brain/ChatClient.h"
#include "brain/ModelCatalogue.h"
#include "engines/GpuProbe.h"
#include "foundation/Callbacks.h"
#include "foundation/Endpoints.h"
#include "platform/process.h"

/// Installs, starts and ends the language-model server, and chooses between its GPU and its CPU build. The
/// server isn't watched after a successful start.
///
/// Threads: `ready` any; everything else one thread at a time, a worker's, because `start` blocks during
/// downloads and loading.
class Brain {
public:
    explicit Brain(Endpoints hosts = {}, std::vector<ModelInfo> models = modelCatalogue())
        : endpoints(std::move(hosts)), catalogue(std::move(models)) {}
    ~Brain() { stop(); }
    Brain(const Brain&) = delete;
    Brain& operator=(const Brain&) = delete;

    /// Brings up the server with the model of this row, downloading whatever is missing. Returns true when it
    /// is ready; immediately if it already was. Returns false on failure, of which `onStatus` has then
    /// received the reason, and when `cancel` became true. During downloads a server with another model keeps
    /// answering. If the GPU build fails, the CPU build is used for the rest of the process.
    [[nodiscard]] bool start(int32_t modelIndex, const StatusFn& onStatus, CancelFlag* cancel);

    /// Ends the server, if one is running.
    void stop();

    /// Returns a client of this server.
    [[nodiscard]] ChatClient chatClient() const { return ChatClient(port); }

    // The steps of `start`.

    /// Launches the server of the current mode and waits until it is ready. Fails if another program listens
    /// on the port.
    [[nodiscard]] bool launchServer(int32_t modelIndex, const StatusFn& onStatus, CancelFlag* cancel);
    /// Installs the program of the current mode if its file is missing; may set `gpuMode` to 0.
    [[nodiscard]] bool ensureEngine(const StatusFn& onStatus, CancelFlag* cancel);
    /// Downloads the model if its file is missing, and resumes what an earlier run began.
    [[nodiscard]] bool ensureModel(int32_t modelIndex, const StatusFn& onStatus, CancelFlag* cancel);

    const Endpoints endpoints;
    const std::vector<ModelInfo> catalogue;
    std::function<bool()> probeGpu =
        probeForGpu;  ///< whether this PC gets the GPU build; called at most once

    ChildProcess process;             ///< the server, or one left loading by a cancelled or timed-out start
    std::atomic<bool> ready = false;  ///< the server has answered its health check and hasn't been stopped
    int32_t port = 8765;              ///< of the server, on loopback
    int32_t runningModel = -1;        ///< row of the loaded model; -1 for none
    int32_t gpuMode = -1;             ///< -1 undecided, 0 CPU build, 1 GPU build
    uint64_t downloadPauseMs = 2000;  ///< between two attempts to download a model
    int32_t healthTries = 600;        ///< 200 ms apart: at least two minutes
};
