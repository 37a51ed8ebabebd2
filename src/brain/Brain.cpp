#include "brain/Brain.h"

#include <algorithm>

#include "engines/EngineInstaller.h"
#include "engines/ModelDownloader.h"
#include "engines/ServerLaunch.h"
#include "foundation/Files.h"
#include "foundation/Log.h"
#include "platform/system.h"
#include "platform/texts.h"

namespace {

constexpr uint64_t freeSpaceMargin = 268435456;  // 256 MiB that a download leaves to the rest of the system

std::string megabytes(uint64_t bytes) {
    return std::to_string(bytes >> 20);
}

EngineBuild engineBuild(bool useGpu) {
    const std::string part = useGpu ? platformTexts.gpuEngineAsset : platformTexts.cpuEngineAsset;
    EngineBuild build;
    build.project = "ggml-org/llama.cpp";
    build.isWanted = [part](const std::string& name) {
        return name.rfind("llama-", 0) == 0 && name.find(part) != std::string::npos;
    };
    build.folder = engineFolder(useGpu);
    build.archive = joinPath(build.folder, "engine.zip");
    build.program = platformTexts.engineProgram;
    build.searchDepth = 1;
    build.placement = Placement::flat;
    build.unpackLimitMs = 120000;
    build.keepsBadArchive = true;
    return build;
}

ServerLaunch serverLaunch(const Brain& brain, int32_t modelIndex) {
    ServerLaunch launch;
    launch.executable = engineExe(brain.gpuMode == 1);
    launch.model = joinPath(modelsFolder(), brain.catalogue.at(static_cast<size_t>(modelIndex)).file);
    launch.port = brain.port;
    launch.options = {"-c",      "6144",       "-t",  std::to_string(std::max(physicalCoreCount(), 2)),
                      "--jinja", "--no-webui", "-np", "1"};
    // The model of row 0 doesn't reason; the others would, and be slow.
    if (modelIndex != 0) launch.options.insert(launch.options.end(), {"--reasoning", "off"});
    launch.logName = "llama-server.log";
    launch.raisePriority = true;
    launch.healthRoute = "/health";
    launch.healthTries = brain.healthTries;
    return launch;
}

}  // namespace

bool Brain::start(int32_t modelIndex, const StatusFn& onStatus, CancelFlag* cancel) {
    if (ready && runningModel == modelIndex) return true;
    if (gpuMode < 0) gpuMode = probeGpu() ? 1 : 0;
    if (!ensureEngine(onStatus, cancel)) return false;
    if (!ensureModel(modelIndex, onStatus, cancel)) return false;
    if (launchServer(modelIndex, onStatus, cancel)) return true;
    if (gpuMode != 1 || *cancel) return false;
    logLine("gpu: Vulkan engine failed to start, falling back to CPU (see llama-server.log)");
    gpuMode = 0;
    return ensureEngine(onStatus, cancel) && launchServer(modelIndex, onStatus, cancel);
}

void Brain::stop() {
    ready = false;
    runningModel = -1;
    process.end();
}

bool Brain::launchServer(int32_t modelIndex, const StatusFn& onStatus, CancelFlag* cancel) {
    if (ready && runningModel == modelIndex) return true;
    stop();
    onStatus(gpuMode == 1 ? "Waking up my brain (GPU)..." : "Waking up my brain...");
    switch (startServer(serverLaunch(*this, modelIndex), process, cancel)) {
        case ServerStart::ready:
            runningModel = modelIndex;
            ready = true;
            break;
        case ServerStart::portTaken:
        case ServerStart::notCreated:
            onStatus("Couldn't start the local AI engine.");
            break;
        case ServerStart::exited:
            onStatus("The AI engine stopped unexpectedly (see llama-server.log).");
            break;
        case ServerStart::timedOut:
            onStatus("The AI engine took too long to start.");
            break;
        case ServerStart::cancelled:
            break;
    }
    return ready;
}

bool Brain::ensureEngine(const StatusFn& onStatus, CancelFlag* cancel) {
    const bool useGpu = gpuMode == 1;
    if (isFile(engineExe(useGpu))) return true;
    onStatus("Finding the latest local-AI engine...");
    InstallCallbacks callbacks;
    callbacks.onProgress = [&](uint64_t done, uint64_t total) {
        onStatus("Downloading engine... " + megabytes(done) + (total == 0 ? "" : "/" + megabytes(total)) +
                 " MB");
    };
    callbacks.onUnpack = [&] { onStatus("Unpacking engine..."); };
    const auto [result, response] = installEngine(engineBuild(useGpu), endpoints.releases, callbacks, cancel);
    switch (result) {
        case InstallResult::installed:
            return true;
        case InstallResult::noListing:
            onStatus("Couldn't reach GitHub (" + response.error + ")");
            break;
        case InstallResult::noBuild:
            if (useGpu) {
                logLine("gpu: no Vulkan build in recent releases, using CPU engine");
                gpuMode = 0;
                return ensureEngine(onStatus, cancel);
            }
            onStatus(platformTexts.noEngineBuild);
            break;
        case InstallResult::downloadFailed:
            onStatus("Engine download failed: " + response.error);
            break;
        case InstallResult::unpackFailed:
            onStatus("Couldn't unpack the engine.");
            break;
        case InstallResult::archiveNotOpened:
        case InstallResult::noProgram:
            break;
    }
    return false;
}

bool Brain::ensureModel(int32_t modelIndex, const StatusFn& onStatus, CancelFlag* cancel) {
    const ModelInfo& model = catalogue.at(static_cast<size_t>(modelIndex));
    const std::string folder = modelsFolder();
    ModelDownload download;
    download.url = endpoints.models + model.url;
    download.path = joinPath(folder, model.file);
    download.pauseMs = downloadPauseMs;
    const std::string part = partPath(download.path);

    // 95 % of the known size is enough: the publisher may have replaced the file.
    if (isFile(download.path) && fileSize(download.path) >= model.size * 95 / 100) return true;
    if (fileSize(part) >= model.size && replaceFile(part, download.path)) return true;

    const uint64_t need = model.size - std::min(model.size, fileSize(part));
    const auto freeSpace = freeDiskSpace(folder);
    if (freeSpace && *freeSpace < need + freeSpaceMargin) {
        onStatus("Not enough disk space: the brain needs about " + std::to_string((need >> 30) + 1) +
                 " GB free on " + volumeName(folder) + " (set VELU_HOME to use another drive).");
        return false;
    }
    download.onProgress = [&](uint64_t done, uint64_t total) {
        const uint64_t percent = total == 0 ? 0 : done * 100 / total;
        onStatus("Downloading brain (" + model.label.substr(0, 5) + ")... " + std::to_string(percent) +
                 "%  " + megabytes(done) + "/" + megabytes(total == 0 ? model.size : total) + " MB");
    };
    download.onFailure = [](int32_t attempt, const HttpResponse& response) {
        logLine("model download attempt %d failed: status=%d err=%s", attempt, response.status,
                response.error.c_str());
    };
    const DownloadResult result = downloadModel(download, cancel);
    if (result == DownloadResult::failed) {
        onStatus("Model download failed. Check your connection and try again.");
    }
    return result == DownloadResult::complete;
}
