#pragma once

#include <optional>
#include <vector>

#include "platform/system.h"

/// The adapter that makes the GPU build of the engine worth trying: the first that isn't software and has at
/// least 3 GiB of memory of its own. Null when there is none. The pointer is into `adapters`.
const GraphicsAdapter* capableAdapter(const std::vector<GraphicsAdapter>& adapters);

/// Whether this machine should get the GPU build, by the Vulkan loader and its adapters. Says why in the log.
/// Threads: any; blocks for as long as the graphics drivers take to load.
bool probeForGpu();
