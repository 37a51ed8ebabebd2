#include "brain/Brain.h"

#include <algorithm>

#include "brain/EngineInstaller.h"
#include "brain/ModelDownloader.h"
#include "brain/ReleaseListing.h"
#include "brain/ServerLaunch.h"
#include "foundation/Files.h"
#include "foundation/Log.h"
#include "foundation/Paths.h"
#include "platform/system.h"
#include "platform/texts.h"

namespace {

constexpr uint64_t unpackLimitMs = 120000;
constexpr uint64_t freeSpaceMargin = 268435456;  // 256 MiB that a download leaves to the rest of the system

std::string megabytes(uint64_t bytes) {
    return std::to_string(bytes >> 20);
}

ProcessOptions serverCommand(const Brain& brain, int32_t modelIndex) {
    const bool useGpu = brain.gpuMode == 1;
    const auto& model = brain.catalogue.at(static_cast<size_t>(modelIndex));
    ProcessOptions options;
    options.executable = engineExe(useGpu);
    options.arguments = {"-m",      joinPath(modelsFolder(), model.file),
                         "--host",  "127.0.0.1",
                         "--port",  std::to_string(brain.port),
                         "-c",      "6144",
                         "-t",      std::to_string(std::max(physicalCoreCount(), 2)),
                         "--jinja", "--no-webui",
                         "-np",     "1"};
    // Row 0 is a model that doesn't think aloud; the others would, and be slow for it.
    if (modelIndex != 0) options.arguments.insert(options.arguments.end(), {"--reasoning", "off"});
    options.workingFolder = engineFolder(useGpu);
    options.logFile = joinPath(dataFolder(), "llama-server.log");
    options.raisePriority = true;
    return options;
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
    if (!process.start(serverCommand(*this, modelIndex))) {
        onStatus("Couldn't start the local AI engine.");
        return false;
    }
    switch (waitForHealth(process, port, "/health", healthTries, cancel)) {
        case ServerHealth::ready:
            runningModel = modelIndex;
            ready = true;
            break;
        case ServerHealth::exited:
            onStatus("The AI engine stopped unexpectedly (see llama-server.log).");
            break;
        case ServerHealth::timedOut:
            onStatus("The AI engine took too long to start.");
            break;
        case ServerHealth::cancelled:
            break;
    }
    return ready;
}

bool Brain::ensureEngine(const StatusFn& onStatus, CancelFlag* cancel) {
    const bool useGpu = gpuMode == 1;
    if (isFile(engineExe(useGpu))) return true;
    onStatus("Finding the latest local-AI engine...");
    const HttpResponse listing = fetchReleaseListing(endpoints.releases, "ggml-org/llama.cpp", cancel);
    if (listing.status != 200 || !listing.error.empty()) {
        onStatus("Couldn't reach GitHub (" + listing.error + ")");
        return false;
    }
    const std::string ending = useGpu ? platformTexts.gpuEngineAsset : platformTexts.cpuEngineAsset;
    const std::string url = chooseAsset(listing.body, [&](const std::string& name) {
        return name.rfind("llama-", 0) == 0 && name.find(ending) != std::string::npos;
    });
    if (url.empty() && useGpu) {
        logLine("gpu: no Vulkan build in recent releases, using CPU engine");
        gpuMode = 0;
        return ensureEngine(onStatus, cancel);
    }
    if (url.empty()) {
        onStatus(platformTexts.noEngineBuild);
        return false;
    }

    const std::string archive = joinPath(engineFolder(useGpu), "engine.zip");
    const auto showProgress = [&](uint64_t done, uint64_t total) {
        onStatus("Downloading engine... " + megabytes(done) + (total == 0 ? "" : "/" + megabytes(total)) +
                 " MB");
    };
    HttpResponse response;
    switch (downloadArchive(url, archive, showProgress, cancel, response)) {
        case ArchiveDownload::notOpened:
            return false;
        case ArchiveDownload::failed:
            onStatus("Engine download failed: " + response.error);
            return false;
        case ArchiveDownload::complete:
            break;
    }
    onStatus("Unpacking engine...");
    if (!installArchive(archive, engineFolder(useGpu), {platformTexts.engineProgram, 1, true}, unpackLimitMs,
                        cancel)) {
        onStatus("Couldn't unpack the engine.");
        return false;
    }
    removeFile(archive);
    return isFile(engineExe(useGpu));
}

bool Brain::ensureModel(int32_t modelIndex, const StatusFn& onStatus, CancelFlag* cancel) {
    const ModelInfo& model = catalogue.at(static_cast<size_t>(modelIndex));
    const std::string folder = modelsFolder();
    ModelDownload download;
    download.url = endpoints.models + model.url;
    download.path = joinPath(folder, model.file);
    download.pauseMs = downloadPauseMs;
    const std::string part = partPath(download.path);

    // A file at 95 % of the known size counts: the publisher may have made it anew since.
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
    const DownloadResult result = downloadModel(download, cancel);
    if (result == DownloadResult::failed) {
        onStatus("Model download failed. Check your connection and try again.");
    }
    return result == DownloadResult::complete;
}
