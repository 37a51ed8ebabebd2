#include "hearing/SpeechEngineBuilds.h"

#include "engines/EngineFolders.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "platform/texts.h"

namespace {

constexpr int32_t serverSearchDepth = 4;

EngineBuild speechBuild() {
    EngineBuild build;
    build.project = "ggml-org/whisper.cpp";
    build.program = platformTexts.speechProgram;
    build.searchDepth = serverSearchDepth;
    build.unpackLimitMs = 600000;  // the CUDA build is large
    return build;
}

bool holds(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

}  // namespace

std::string speechFolder() {
    return createdFolder("whisper");
}

std::string speechCudaFolder() {
    return joinPath(dataFolder(), "whisper-cuda");
}

std::string cudaMarkerFile() {
    return joinPath(dataFolder(), "whisper-cuda-failed.txt");
}

std::string findServerExe(const std::string& folder, int32_t depth) {
    return findProgram(folder, platformTexts.speechProgram, serverSearchDepth - depth);
}

EngineBuild cpuSpeechBuild() {
    EngineBuild build = speechBuild();
    build.isWanted = [](const std::string& name) { return name == platformTexts.speechAsset; };
    build.folder = speechFolder();
    build.archive = joinPath(build.folder, "engine.zip");
    build.placement = Placement::asPacked;
    return build;
}

EngineBuild cudaSpeechBuild() {
    EngineBuild build = speechBuild();
    build.isWanted = [](const std::string& name) {
        return (holds(name, "cuda-12") || holds(name, "cublas-12")) &&
               holds(name, platformTexts.cudaSpeechAsset);
    };
    build.folder = speechCudaFolder();
    build.archive = joinPath(dataFolder(), "whisper-cuda.zip");
    build.placement = Placement::wholeFolder;
    return build;
}
