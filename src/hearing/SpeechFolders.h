#pragma once

#include <cstdint>
#include <string>

// Where the speech engine's builds lie. Paths below the data folder. Threads: any.

/// The folder of the build for the processor; created on every call, ignoring the result.
std::string speechFolder();

/// The folder of the CUDA build. It exists only once that build has been unpacked whole.
std::string speechCudaFolder();

/// While this file exists no CUDA build is fetched or launched. Its text tells people why. Nothing but the
/// user ever deletes it.
std::string cudaMarkerFile();

/// How many folders deep the server program is looked for.
inline constexpr int32_t serverSearchDepth = 4;

/// How long unpacking a build may take: the CUDA build is large.
inline constexpr uint64_t speechUnpackLimitMs = 600000;

/// Path of the first server program in the folder or beneath it, when `depth` levels are already behind us;
/// empty when there is none. Folders whose name begins with a full stop are passed over.
std::string findServerExe(const std::string& folder, int32_t depth);
