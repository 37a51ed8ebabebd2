// The part of the speech engine that brings in the CUDA build while the other one serves.

#include <exception>
#include <filesystem>
#include <system_error>

#include "brain/EngineInstaller.h"
#include "brain/ReleaseListing.h"
#include "foundation/Files.h"
#include "foundation/Log.h"
#include "foundation/Paths.h"
#include "foundation/Ticks.h"
#include "hearing/SpeechEngine.h"
#include "hearing/SpeechFolders.h"
#include "platform/archive.h"
#include "platform/texts.h"

namespace {

constexpr int32_t trialLimitMs = 180000;  // a first transcription may compile the card's programs
constexpr size_t trialSamples = 16000;    // a second of silence

bool holds(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

bool isCudaBuild(const std::string& asset) {
    return (holds(asset, "cuda-12") || holds(asset, "cublas-12")) &&
           holds(asset, platformTexts.cudaSpeechAsset);
}

/// Unpacks the archive and gives the folder its final name in one step, so that it holds a whole engine or
/// doesn't exist.
bool installCuda(const std::string& archive, CancelFlag* cancel) {
    const std::string staging = speechCudaFolder() + ".tmp";
    removeFolder(staging);
    createFolder(staging);
    const bool isWhole =
        unpackArchive(archive, staging, speechUnpackLimitMs, cancel) && !findServerExe(staging, 0).empty();
    removeFile(archive);
    std::error_code error;
    if (isWhole) std::filesystem::rename(staging, speechCudaFolder(), error);
    removeFolder(staging);  // what is left of it
    return isWhole && !error;
}

}  // namespace

void SpeechEngine::beginUpgrade() {
    if (upgradeThread.joinable() || stopUpgrade || isFile(cudaMarkerFile()) || !probeCuda()) return;
    upgradeThread = std::thread([this] {
        try {
            upgrade();
        } catch (const std::exception& error) {
            logLine("stt: CUDA upgrade ended by an unexpected error: %s", error.what());
        }
        trialProcess.end();
    });
}

void SpeechEngine::upgrade() {
    const int32_t trialPort = port + 1;
    if (fetchCuda() && tryCuda(trialPort)) swapServers(trialPort);
}

/// Fills `speechCudaFolder`. A network that fails is no reason never to try again.
bool SpeechEngine::fetchCuda() const {
    const HttpResponse listing =
        fetchReleaseListing(endpoints.releases, "ggml-org/whisper.cpp", &stopUpgrade);
    if (listing.status != 200 || !listing.error.empty()) {
        if (!stopUpgrade) logLine("stt: CUDA upgrade: GitHub unreachable");
        return false;
    }
    const std::string url = chooseAsset(listing.body, isCudaBuild);
    if (url.empty()) {
        failUpgrade("no CUDA 12 build in recent releases");
        return false;
    }
    logLine("stt: downloading CUDA engine %s", url.c_str());
    const std::string archive = joinPath(dataFolder(), "whisper-cuda.zip");
    HttpResponse response;
    switch (downloadArchive(url, archive, {}, &stopUpgrade, response)) {
        case ArchiveDownload::notOpened:
            return false;
        case ArchiveDownload::failed:
            if (!stopUpgrade)
                logLine("stt: CUDA download failed: %d %s", response.status, response.error.c_str());
            return false;
        case ArchiveDownload::complete:
            break;
    }
    if (installCuda(archive, &stopUpgrade)) return true;
    failUpgrade("couldn't unpack the CUDA engine");
    return false;
}

bool SpeechEngine::tryCuda(int32_t trialPort) {
    const std::string exe = findServerExe(speechCudaFolder(), 0);
    if (!launch(exe, trialPort, "whisper-server-gpu.log", trialProcess, &stopUpgrade)) {
        failUpgrade("CUDA engine didn't start");
        return false;
    }
    const std::vector<int16_t> silence(trialSamples, 0);
    if (postInference(trialPort, silence, &stopUpgrade, trialLimitMs).status == 200) return true;
    failUpgrade("CUDA warm-up transcription failed");
    return false;
}

void SpeechEngine::swapServers(int32_t trialPort) {
    // A transcription that runs is finished by the server that began it.
    const auto turn = lockUnlessCancelled(lock, &stopUpgrade);
    if (!turn || stopUpgrade) return;
    process = std::move(trialProcess);
    port = trialPort;
    logLine("stt: switched to CUDA engine");
}

/// Rules CUDA out on this machine, unless it was only broken off.
void SpeechEngine::failUpgrade(const char* reason) const {
    if (stopUpgrade) return;
    logLine("stt: CUDA upgrade failed: %s", reason);
    writeWholeFile(cudaMarkerFile(), std::string(reason) + "\n");
}
