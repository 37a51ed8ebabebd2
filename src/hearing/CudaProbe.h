#pragma once

#include <vector>

#include "platform/system.h"

/// Returns whether one of the adapters is from NVIDIA and strong enough for the GPU build of an engine.
bool hasCudaCard(const std::vector<GraphicsAdapter>& adapters);

/// Returns whether this PC should get the CUDA build of the speech engine: it has NVIDIA's driver and a
/// strong enough card. Doesn't log. Threads: any; blocks while the graphics drivers load.
bool probeForCuda();
