#include "engines/GpuProbe.h"

#include <algorithm>

#include "foundation/Log.h"

namespace {

// What the smallest model with its context takes on the card.
constexpr uint64_t leastVideoMemory = 3221225472;  // 3 GiB

}  // namespace

bool isCapable(const GraphicsAdapter& adapter) {
    return !adapter.isSoftware && adapter.dedicatedMemory >= leastVideoMemory;
}

const GraphicsAdapter* capableAdapter(const std::vector<GraphicsAdapter>& adapters) {
    const auto found = std::find_if(adapters.begin(), adapters.end(), isCapable);
    return found == adapters.end() ? nullptr : &*found;
}

bool probeForGpu() {
    if (!hasVulkanLoader()) {
        logLine("gpu: no Vulkan loader, using CPU engine");
        return false;
    }
    const auto adapters = graphicsAdapters();
    if (!adapters) return false;
    const GraphicsAdapter* adapter = capableAdapter(*adapters);
    if (adapter == nullptr) {
        logLine("gpu: no adapter with enough VRAM, using CPU engine");
        return false;
    }
    logLine("gpu: %s, %llu MB VRAM", adapter->name.c_str(),
            static_cast<unsigned long long>(adapter->dedicatedMemory >> 20));
    return true;
}
