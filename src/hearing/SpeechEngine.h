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

/// Installs, starts and ends the speech-to-text server, and sends it utterances to transcribe. It starts with
/// the build that is installed; on a PC with a suitable graphics card a `CudaUpgrade` then runs in the
/// background. The server isn't watched after a successful start: if it dies, transcripts are empty.
///
/// Threads: `start` and `stop` one thread at a time; `transcribe` any, also while the upgrade runs.
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

    /// Cancels the upgrade without a trace and ends the server, if they are running. No upgrade begins after
    /// it.
    void stop();

    /// Returns what was said in these samples (16 kHz mono), as UTF-8. Empty when nothing was said, when they
    /// last less than 200 ms, when no server is ready, when the request failed (which is logged) or when
    /// `cancel` became true. Transcribes one utterance at a time; further callers wait.
    std::string transcribe(const std::vector<int16_t>& samples, CancelFlag* cancel);

    /// Has the server on this port transcribe samples of any length and returns its raw answer.
    static HttpResponse postInference(int32_t port, const std::vector<int16_t>& samples, CancelFlag* cancel,
                                      int32_t timeoutMs);

    /// See `extractCommand` of Transcription.h.
    static bool extractCommand(const std::string& text, std::string& out) {
        return ::extractCommand(text, out);
    }

    /// Ends the server in `slot`, starts the program `exe` in its place with its output in `logName` in the
    /// data folder, and waits until it is ready. Returns false when the port is taken, when it can't be
    /// created or ends, and when the wait times out or is cancelled (`slot` then keeps it).
    [[nodiscard]] bool launch(const std::string& exe, int32_t serverPort, const std::string& logName,
                              ChildProcess& slot, CancelFlag* cancel) const;

    const Endpoints endpoints;
    std::function<bool()> probeCuda = probeForCuda;  ///< whether this PC may get the CUDA build
    uint64_t downloadPauseMs = 2000;                 ///< after each failed attempt to download the model
    int32_t healthTries = 300;                       ///< 200 ms apart: at least a minute

    std::thread upgradeThread;              ///< started at most once
    std::atomic<bool> stopUpgrade = false;  ///< cancels the upgrade; stays set after `stop`
    std::atomic<bool> ready = false;        ///< the server in service has answered its health check

    // Guarded by `lock` while the upgrade runs.
    std::mutex lock;       ///< held for each transcription and while the servers are swapped
    ChildProcess process;  ///< the server in service, or one left loading by a cancelled or timed-out start
    int32_t port = 8792;   ///< of the server in service, on loopback; 1 higher after a swap

    ChildProcess trialProcess;  ///< the CUDA server under trial; upgrade thread only

private:
    [[nodiscard]] bool ensureEngine(const StatusFn& onProgress, const StatusFn& onProblem,
                                    CancelFlag* cancel) const;
    [[nodiscard]] bool ensureModel(const StatusFn& onProgress, CancelFlag* cancel) const;
    [[nodiscard]] bool launchServer(CancelFlag* cancel);
    [[nodiscard]] bool launchCuda(CancelFlag* cancel);
    void beginUpgrade();
};
