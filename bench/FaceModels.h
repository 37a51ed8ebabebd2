#pragma once

#include <string>

/// The face models that the benchmarks run: the real ones if they have been downloaded, else generated ones
/// of about the same cost.
std::string benchmarkDetector();
std::string benchmarkEmbedder();
