#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "brain/ChatClient.h"
#include "brain/GpuProbe.h"
#include "brain/ModelCatalogue.h"
#include "foundation/Callbacks.h"
#include "foundation/Endpoints.h"
#include "platform/process.h"

/// Owner of the language-model server: fetches its program and its model, chooses between the GPU and the CPU
/// build, starts it as a hidden child, waits until it answers, and ends it. After a good start it does
/// nothing more until it is asked to start again; a server that dies later isn't noticed here.
///
/// Threads: `ready` from any; all else from one thread at a time, a worker's, since `start` blocks for as
/// long as downloads and loading take.
class Brain {
public:
    explicit Brain(Endpoints hosts = {}, std::vector<ModelInfo> models = modelCatalogue())
        : endpoints(std::move(hosts)), catalogue(std::move(models)) {}
    ~Brain() { stop(); }
    Brain(const Brain&) = delete;
    Brain& operator=(const Brain&) = delete;

    /// Brings up the server with the model of this row, from nothing if need be. True when it is ready; at
    /// once and without a word when it was already. False after `onStatus` was told why, or when `cancel`
    /// turned true. While an engine or model is fetched, a server with another model goes on answering. When
    /// the GPU build doesn't come up, the CPU build is tried, for the rest of the process.
    [[nodiscard]] bool start(int32_t modelIndex, const StatusFn& onStatus, CancelFlag* cancel);

    /// Ends the server. Safe with none running.
    void stop();

    /// The client that talks to this server.
    [[nodiscard]] ChatClient chatClient() const { return ChatClient(port); }

    // The steps of `start`.

    /// Launches the server of the present mode and waits for its health. The server is ready only if it is
    /// our own child that listens on the port: a stranger there is a failed start.
    [[nodiscard]] bool launchServer(int32_t modelIndex, const StatusFn& onStatus, CancelFlag* cancel);
    /// Sees to the program of the present mode; may turn `gpuMode` to 0. Installed is installed: the network
    /// is asked only when the program's file is missing.
    [[nodiscard]] bool ensureEngine(const StatusFn& onStatus, CancelFlag* cancel);
    /// Sees to the model's file, resuming what an earlier run began.
    [[nodiscard]] bool ensureModel(int32_t modelIndex, const StatusFn& onStatus, CancelFlag* cancel);

    const Endpoints endpoints;
    const std::vector<ModelInfo> catalogue;
    std::function<bool()> probeGpu =
        probeForGpu;  ///< whether this machine gets the GPU build; asked at most once

    ChildProcess process;             ///< the server, or one left behind by a wait that was given up
    std::atomic<bool> ready = false;  ///< it answered its health check and hasn't been stopped since
    int32_t port = 8765;              ///< of the server, on loopback
    int32_t runningModel = -1;        ///< row that it has loaded; -1 for none
    int32_t gpuMode = -1;             ///< -1 not yet decided, 0 CPU build, 1 GPU build
    uint64_t downloadPauseMs = 2000;  ///< between two attempts at a model
    int32_t healthTries = 600;        ///< each with a pause of 200 ms behind it: at least two minutes
};
