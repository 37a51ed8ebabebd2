#include "hearing/SpeechFolders.h"

#include "brain/EngineInstaller.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "platform/texts.h"

std::string speechFolder() {
    std::string path = joinPath(dataFolder(), "whisper");
    createFolder(path);
    return path;
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
