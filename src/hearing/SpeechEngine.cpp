#include "hearing/SpeechEngine.h"

#include <exception>

#include "engines/EngineFolders.h"
#include "engines/EngineInstaller.h"
#include "engines/ModelDownloader.h"
#include "engines/ServerLaunch.h"
#include "foundation/Files.h"
#include "foundation/Log.h"
#include "foundation/Ticks.h"
#include "hearing/CudaUpgrade.h"
#include "hearing/SpeechEngineBuilds.h"
#include "platform/texts.h"

namespace {

constexpr uint64_t modelBytes = 147964211;         // of the published file
constexpr uint64_t modelPresentBytes = 140566000;  // 95 %: the publisher may have replaced the file
constexpr size_t leastSamples = 3200;              // 200 ms
constexpr int32_t transcriptionLimitMs = 60000;

std::string modelFile() {
    return joinPath(modelsFolder(), "ggml-base.en.bin");
}

}  // namespace

bool SpeechEngine::start(const StatusFn& onProgress, const StatusFn& onProblem, CancelFlag* cancel) {
    if (ready) return true;
    return ensureEngine(onProgress, onProblem, cancel) && ensureModel(onProgress, cancel) &&
           launchServer(cancel);
}

void SpeechEngine::stop() {
    stopUpgrade = true;
    if (upgradeThread.joinable()) upgradeThread.join();
    ready = false;
    process.end();
}

std::string SpeechEngine::transcribe(const std::vector<int16_t>& samples, CancelFlag* cancel) {
    if (!ready || samples.size() < leastSamples) return {};
    const auto turn = lockUnlessCancelled(lock, cancel);
    const HttpResponse response =
        turn ? postInference(port, samples, cancel, transcriptionLimitMs) : HttpResponse{0, {}, "cancelled"};
    if (response.status != 200) {
        logLine("transcribe failed: %d %s", response.status, response.error.c_str());
        return {};
    }
    return cleanTranscript(response.body);
}

HttpResponse SpeechEngine::postInference(int32_t port, const std::vector<int16_t>& samples,
                                         CancelFlag* cancel, int32_t timeoutMs) {
    HttpRequest request;
    request.method = "POST";
    request.headers = {{"Content-Type", inferenceContentType}};
    request.body = inferenceBody(samples);
    request.receiveTimeoutMs = timeoutMs;
    request.cancel = cancel;
    request.startsCancelled = false;
    return HttpClient::send("http://127.0.0.1:" + std::to_string(port) + "/inference", request);
}

bool SpeechEngine::ensureEngine(const StatusFn& onProgress, const StatusFn& onProblem,
                                CancelFlag* cancel) const {
    if (!findServerExe(speechFolder(), 0).empty()) return true;
    onProgress("Finding the speech engine...");
    InstallCallbacks callbacks;
    callbacks.onUnpack = [&] { onProgress("Unpacking speech engine..."); };
    switch (installEngine(cpuSpeechBuild(), endpoints.releases, callbacks, cancel).result) {
        case InstallResult::installed:
            return true;
        case InstallResult::noListing:
            onProblem("Couldn't reach GitHub for the speech engine.");
            break;
        case InstallResult::noBuild:
            onProblem(platformTexts.noSpeechBuild);
            break;
        case InstallResult::downloadFailed:
            onProblem("Speech engine download failed.");
            break;
        case InstallResult::archiveNotOpened:
        case InstallResult::unpackFailed:
        case InstallResult::noProgram:
            break;
    }
    return false;
}

bool SpeechEngine::ensureModel(const StatusFn& onProgress, CancelFlag* cancel) const {
    ModelDownload download;
    download.url = endpoints.models + "/ggerganov/whisper.cpp/resolve/main/ggml-base.en.bin";
    download.path = modelFile();
    if (isFile(download.path) && fileSize(download.path) >= modelPresentBytes) return true;
    download.attempts = 3;
    download.pauseMs = downloadPauseMs;
    download.progressIntervalMs = 500;
    download.onProgress = [&](uint64_t done, uint64_t total) {
        const uint64_t percent = done * 100 / (total == 0 ? modelBytes : total);
        onProgress("Downloading ears... " + std::to_string(percent) + "%");
    };
    download.onFailure = [](int32_t attempt, const HttpResponse& response) {
        logLine("whisper model download attempt %d failed: %d %s", attempt, response.status,
                response.error.c_str());
    };
    return downloadModel(download, cancel) == DownloadResult::complete;
}

bool SpeechEngine::launchServer(CancelFlag* cancel) {
    ready = false;
    process.end();
    if (launchCuda(cancel)) {
        ready = true;
        return true;
    }
    const std::string exe = findServerExe(speechFolder(), 0);
    if (exe.empty() || !launch(exe, port, "whisper-server.log", process, cancel)) return false;
    ready = true;
    beginUpgrade();
    return true;
}

/// Launches the CUDA build that an earlier run has installed, unless it is ruled out.
bool SpeechEngine::launchCuda(CancelFlag* cancel) {
    if (isFile(cudaMarkerFile())) return false;
    const std::string exe = findServerExe(speechCudaFolder(), 0);
    if (exe.empty()) return false;
    if (launch(exe, port, "whisper-server.log", process, cancel)) {
        logLine("stt: using CUDA engine");
        return true;
    }
    process.end();
    logLine("stt: CUDA engine failed to start, using CPU");
    writeWholeFile(cudaMarkerFile(), "CUDA whisper-server failed to start\n");
    return false;
}

void SpeechEngine::beginUpgrade() {
    if (upgradeThread.joinable() || stopUpgrade || isFile(cudaMarkerFile()) || !probeCuda()) return;
    upgradeThread = std::thread([this] {
        try {
            CudaUpgrade(*this).run();
        } catch (const std::exception& error) {
            logLine("stt: CUDA upgrade ended by an unexpected error: %s", error.what());
        }
        trialProcess.end();
    });
}

bool SpeechEngine::launch(const std::string& exe, int32_t serverPort, const std::string& logName,
                          ChildProcess& slot, CancelFlag* cancel) const {
    ServerLaunch launch;
    launch.executable = exe;
    launch.model = modelFile();
    launch.port = serverPort;
    launch.options = {"-t", "4", "-ac", "768", "-l", "en"};
    launch.logName = logName;
    launch.sharesPort = true;  // another server there would get half of what is said
    launch.healthRoute = "/";
    launch.healthTries = healthTries;
    const ServerStart result = startServer(launch, slot, cancel);
    if (result == ServerStart::portTaken) logLine("stt: port %d is taken by another program", serverPort);
    return result == ServerStart::ready;
}
