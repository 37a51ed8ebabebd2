#pragma once

#include <optional>
#include <vector>

#include "platform/system.h"

/// Returns whether the adapter is strong enough for the GPU build of an engine: it isn't software and has at
/// least 3 GiB of its own memory.
bool isCapable(const GraphicsAdapter& adapter);

/// Returns the first capable adapter, a pointer into `adapters`, or null.
const GraphicsAdapter* capableAdapter(const std::vector<GraphicsAdapter>& adapters);

/// Returns whether this PC should get the GPU build, which needs the Vulkan loader and a capable adapter;
/// logs the reason. Threads: any; blocks while the graphics drivers load.
bool probeForGpu();
