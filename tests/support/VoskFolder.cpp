#include "support/VoskFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <system_error>

namespace fs = std::filesystem;

VoskFolder::VoskFolder()
    : model(assets.path + "/vosk-model-small-en-us-0.15"), library(assets.path + "/libvosk.so") {
    std::error_code error;
    fs::create_directories(model + "/am", error);
    EXPECT_FALSE(error) << error.message();
    EXPECT_TRUE((std::ofstream(model + "/am/final.mdl") << "a model of nothing").flush().good());
    fs::copy_file(FAKE_VOSK, library, error);
    EXPECT_FALSE(error) << error.message();
}
