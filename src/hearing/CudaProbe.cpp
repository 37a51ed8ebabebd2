#include "hearing/CudaProbe.h"

#include <algorithm>
#include <optional>

#include "engines/GpuProbe.h"

namespace {

constexpr uint32_t nvidiaVendor = 0x10DE;

}  // namespace

bool hasCudaCard(const std::vector<GraphicsAdapter>& adapters) {
    return std::any_of(adapters.begin(), adapters.end(), [](const GraphicsAdapter& adapter) {
        return adapter.vendor == nvidiaVendor && isCapable(adapter);
    });
}

bool probeForCuda() {
    if (!hasNvidiaDriver() || !hasVulkanLoader()) return false;
    const auto adapters = graphicsAdapters();
    return adapters && hasCudaCard(*adapters);
}
