#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/Callbacks.h"
#include "foundation/Endpoints.h"
#include "foundation/HttpClient.h"
#include "hearing/CudaProbe.h"
#include "hearing/Transcription.h"
#include "platform/process.h"

/// Owner of the speech-to-text server: fetches its program and its model, starts it as a hidden child, has it
/// transcribe, and ends it. It comes up on what is there; on a machine with a suitable card the CUDA build is
/// then fetched and tried behind the user's back, on a port of its own, and takes over once it has done a
/// transcription. A server that dies later isn't noticed here: transcripts are empty then.
///
/// Threads: `start` and `stop` from one thread at a time; `transcribe` from any, any number at once, also
/// while the upgrade runs on a thread of its own.
class SpeechEngine {
public:
    explicit SpeechEngine(Endpoints hosts = {}) : endpoints(std::move(hosts)) {}
    ~SpeechEngine() { stop(); }
    SpeechEngine(const SpeechEngine&) = delete;
    SpeechEngine& operator=(const SpeechEngine&) = delete;

    /// Brings up the server, downloading whatever is missing. Returns true when it is ready; immediately if
    /// it already was. Returns false when it can't be started or `cancel` became true. `onProgress` gets a
    /// line for each step, `onProblem` the reason why the program couldn't be installed; other failures are
    /// only logged, so the caller must tell the user about a false. Blocks during downloads and loading; an
    /// upgrade continues after the return.
    [[nodiscard]] bool start(const StatusFn& onProgress, const StatusFn& onProblem, CancelFlag* cancel);

    /// Breaks off an upgrade without a trace and ends the server. No further upgrade begins behind it. Safe
    /// with none running.
    void stop();

    /// What was said in these samples (16 kHz mono), as UTF-8. Empty when nothing was, when they last less
    /// than 200 ms, when no server is ready, when the request failed (the log says so) or when `cancel`
    /// turned true. One transcription at a time; others wait for their turn.
    std::string transcribe(const std::vector<int16_t>& samples, CancelFlag* cancel);

    /// One transcription by the server on this port: its raw answer. No audio is too short for it.
    static HttpResponse postInference(int32_t port, const std::vector<int16_t>& samples, CancelFlag* cancel,
                                      int32_t timeoutMs);

    /// See `extractCommand` of Transcription.h.
    static bool extractCommand(const std::string& text, std::string& out) {
        return ::extractCommand(text, out);
    }

    /// Starts the program `exe` in `slot`, in place of what was there, with `logName` in the data folder for
    /// its output, and waits for its health. False when it can't be created, when it ends, when the waiting
    /// runs out or is cancelled (`slot` keeps it then), and when the port is another program's.
    [[nodiscard]] bool launch(const std::string& exe, int32_t serverPort, const std::string& logName,
                              ChildProcess& slot, CancelFlag* cancel) const;

    const Endpoints endpoints;
    std::function<bool()> probeCuda = probeForCuda;  ///< whether this machine may get the CUDA build
    uint64_t downloadPauseMs = 2000;                 ///< behind each failed attempt at the model
    int32_t healthTries = 300;  ///< each with a pause of 200 ms behind it: at least a minute

    std::thread upgradeThread;              ///< started once at most
    std::atomic<bool> stopUpgrade = false;  ///< tells the upgrade to end; stays set from `stop` on
    std::atomic<bool> ready = false;        ///< the server in service answered its health check

    // Guarded by `lock` while the upgrade runs.
    std::mutex lock;       ///< held for each transcription, and for the swap of the servers
    ChildProcess process;  ///< the server in service, or one left behind by a wait that was given up
    int32_t port = 8792;   ///< of the server in service, on loopback; one more after a swap

    /// The CUDA server under trial: the upgrade's own, which also ends it. A set `stopUpgrade` breaks off
    /// whatever the upgrade waits for, so nobody else needs to touch it.
    ChildProcess trialProcess;

private:
    [[nodiscard]] bool ensureEngine(const StatusFn& onProgress, const StatusFn& onProblem,
                                    CancelFlag* cancel) const;
    [[nodiscard]] bool ensureModel(const StatusFn& onProgress, CancelFlag* cancel) const;
    [[nodiscard]] bool launchServer(CancelFlag* cancel);
    [[nodiscard]] bool launchCuda(CancelFlag* cancel);

    // The upgrade, in CudaUpgrade.cpp.
    void beginUpgrade();
    void upgrade();
    [[nodiscard]] bool fetchCuda() const;
    [[nodiscard]] bool tryCuda(int32_t trialPort);
    void swapServers(int32_t trialPort);
    void failUpgrade(const char* reason) const;
};
