#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// One language model that the brain can run.
struct ModelInfo {
    std::string
        label;  ///< the entry in the settings window's list; its first five letters name it in progress lines
    std::string file;  ///< file name under the models folder
    std::string url;   ///< path on the model host
    uint64_t size;     ///< expected size in bytes
};

/// The models in the order that settings and the server's command line rely on: the row is
/// `Settings::modelIndex`.
const std::vector<ModelInfo>& modelCatalogue();

/// The folders of the models and of the two engine builds, created on every call so that one can write into
/// them.
std::string modelsFolder();
std::string engineFolder(bool useGpu);

/// The language-model server's program of a build.
std::string engineExe(bool useGpu);
