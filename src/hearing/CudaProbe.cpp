#include "hearing/CudaProbe.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "brain/GpuProbe.h"

namespace {

constexpr uint32_t nvidiaVendor = 0x10DE;

}  // namespace

bool hasCudaCard(const std::vector<GraphicsAdapter>& adapters) {
    std::vector<GraphicsAdapter> cards;
    std::copy_if(adapters.begin(), adapters.end(), std::back_inserter(cards),
                 [](const GraphicsAdapter& adapter) { return adapter.vendor == nvidiaVendor; });
    return capableAdapter(cards) != nullptr;
}

bool probeForCuda() {
    if (!hasNvidiaDriver() || !hasVulkanLoader()) return false;
    const auto adapters = graphicsAdapters();
    return adapters && hasCudaCard(*adapters);
}
