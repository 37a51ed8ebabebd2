#pragma once

#include <vector>

#include "platform/system.h"

/// Whether one of the adapters is a card from NVIDIA, and strong enough for the GPU build of an engine.
bool hasCudaCard(const std::vector<GraphicsAdapter>& adapters);

/// Whether this machine should get the CUDA build of the speech engine, by the driver and its adapters. Says
/// nothing in the log. Threads: any; blocks for as long as the graphics drivers take to load.
bool probeForCuda();
