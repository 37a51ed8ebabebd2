#include "support/VoskFolder.h"

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

VoskFolder::VoskFolder()
    : model(assets.path + "/vosk-model-small-en-us-0.15"), library(assets.path + "/libvosk.so") {
    fs::create_directories(model + "/am");
    std::ofstream(model + "/am/final.mdl") << "a model of nothing";
    fs::copy_file(FAKE_VOSK, library);
}
