#include "hearing/CudaUpgrade.h"

#include <utility>

#include "engines/EngineInstaller.h"
#include "foundation/Files.h"
#include "foundation/Log.h"
#include "foundation/Ticks.h"
#include "hearing/SpeechEngine.h"
#include "hearing/SpeechEngineBuilds.h"

namespace {

constexpr int32_t trialLimitMs = 180000;  // a first transcription may compile the card's programs
constexpr size_t trialSamples = 16000;    // a second of silence

}  // namespace

void CudaUpgrade::run() {
    const int32_t trialPort = engine.port + 1;
    if (fetch() && tryOut(trialPort)) swapServers(trialPort);
}

/// Fills `speechCudaFolder`. A network failure doesn't rule CUDA out: the next run tries again.
bool CudaUpgrade::fetch() const {
    InstallCallbacks callbacks;
    callbacks.onFound = [](const std::string& url) {
        logLine("stt: downloading CUDA engine %s", url.c_str());
    };
    const auto [result, response] =
        installEngine(cudaSpeechBuild(), engine.endpoints.releases, callbacks, &engine.stopUpgrade);
    switch (result) {
        case InstallResult::installed:
            return true;
        case InstallResult::noListing:
            if (!engine.stopUpgrade) logLine("stt: CUDA upgrade: GitHub unreachable");
            break;
        case InstallResult::noBuild:
            fail("no CUDA 12 build in recent releases");
            break;
        case InstallResult::archiveNotOpened:
            break;
        case InstallResult::downloadFailed:
            if (!engine.stopUpgrade)
                logLine("stt: CUDA download failed: %d %s", response.status, response.error.c_str());
            break;
        case InstallResult::unpackFailed:
        case InstallResult::noProgram:
            fail("couldn't unpack the CUDA engine");
            break;
    }
    return false;
}

bool CudaUpgrade::tryOut(int32_t trialPort) {
    const std::string exe = findServerExe(speechCudaFolder(), 0);
    if (!engine.launch(exe, trialPort, "whisper-server-gpu.log", engine.trialProcess, &engine.stopUpgrade)) {
        fail("CUDA engine didn't start");
        return false;
    }
    const std::vector<int16_t> silence(trialSamples, 0);
    if (SpeechEngine::postInference(trialPort, silence, &engine.stopUpgrade, trialLimitMs).status == 200)
        return true;
    fail("CUDA warm-up transcription failed");
    return false;
}

void CudaUpgrade::swapServers(int32_t trialPort) {
    // A running transcription is finished by the server that began it.
    const auto turn = lockUnlessCancelled(engine.lock, &engine.stopUpgrade);
    if (!turn || engine.stopUpgrade) return;
    engine.process = std::move(engine.trialProcess);
    engine.port = trialPort;
    logLine("stt: switched to CUDA engine");
}

/// Marks CUDA as unusable on this PC, unless the upgrade was cancelled.
void CudaUpgrade::fail(const char* reason) const {
    if (engine.stopUpgrade) return;
    logLine("stt: CUDA upgrade failed: %s", reason);
    writeWholeFile(cudaMarkerFile(), std::string(reason) + "\n");
}
