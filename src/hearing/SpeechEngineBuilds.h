#pragma once

#include <cstdint>
#include <string>

#include "engines/EngineInstaller.h"

// The builds of the speech engine and where they are installed, below the data folder. Threads: any.

/// Returns the folder of the CPU build; created on every call.
std::string speechFolder();

/// Returns the folder of the CUDA build. It exists only once that build has been unpacked completely.
std::string speechCudaFolder();

/// Returns the path of a file that rules out CUDA: while it exists, no CUDA build is fetched or launched. Its
/// text gives the reason to people. Only the user deletes it.
std::string cudaMarkerFile();

/// Returns the path of the first server program in the folder or below it, or an empty path. `depth` is the
/// number of folders already gone down, of at most 4. Skips folders whose name begins with a full stop.
std::string findServerExe(const std::string& folder, int32_t depth);

EngineBuild cpuSpeechBuild();
EngineBuild cudaSpeechBuild();
