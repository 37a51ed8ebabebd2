#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engines/EngineFolders.h"

/// One language model that the brain can run.
struct ModelInfo {
    std::string
        label;  ///< the entry in the settings window's list; its first five letters name it in progress lines
    std::string file;  ///< file name in `modelsFolder`
    std::string url;   ///< path on the host of the models
    uint64_t size;     ///< expected size in bytes
};

/// Returns all models; `Settings::modelIndex` is the row. Settings files and the server's command line depend
/// on the order.
const std::vector<ModelInfo>& modelCatalogue();

/// Returns the folder of an engine build; created on every call so that callers can write to it.
std::string engineFolder(bool useGpu);

/// Returns the path of a build's server program.
std::string engineExe(bool useGpu);
