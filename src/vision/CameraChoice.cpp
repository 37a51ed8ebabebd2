#include "vision/CameraChoice.h"

#include <algorithm>
#include <cstdlib>

#include "foundation/Text.h"

bool isInfrared(const CameraDevice& device) {
    const std::string name = toLowerAscii(device.name);
    return device.isGrey || name.find(" ir") != std::string::npos ||
           name.find("infrared") != std::string::npos;
}

const CameraDevice* chooseCamera(const std::vector<CameraDevice>& devices, const std::string& wanted) {
    const CameraDevice* chosen = nullptr;
    for (const CameraDevice& device : devices) {
        if (!wanted.empty() && device.name.find(wanted) != std::string::npos) return &device;
        if (chosen == nullptr && !isInfrared(device)) chosen = &device;
    }
    return chosen;
}

CameraSize chooseSize(const std::vector<CameraSize>& sizes) {
    constexpr int32_t wantedWidth = 640;
    const auto distance = [](const CameraSize& size) { return std::abs(size.width - wantedWidth); };
    const auto nearest =
        std::min_element(sizes.begin(), sizes.end(),
                         [&](const CameraSize& a, const CameraSize& b) { return distance(a) < distance(b); });
    return nearest == sizes.end() ? CameraSize{} : *nearest;
}
