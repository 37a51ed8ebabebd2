#include "vision/Darkness.h"

#include <cstddef>

bool Darkness::isLit(std::span<const uint8_t> pixels) {
    constexpr size_t step = 4096;
    constexpr size_t leastBrightness = 3;
    size_t sum = 0;
    for (size_t at = 0; at < pixels.size(); at += step)
        sum += pixels[at];
    return sum >= leastBrightness * (pixels.size() / step);
}

bool Darkness::isNoticed(std::span<const uint8_t> pixels) {
    constexpr int32_t patience = 40;  // pictures: ten seconds of them
    if (isLit(pixels)) {
        ++litFrames;
        darkRun = 0;
        return false;
    }
    ++darkRun;
    return darkRun == patience && litFrames == 0;
}
