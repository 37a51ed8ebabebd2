#include "presence/HeadPicture.h"

#include <algorithm>

std::vector<uint8_t> overGrey(const std::vector<uint8_t>& frame) {
    std::vector<uint8_t> pixels;
    pixels.reserve(frame.size() / 4 * 3);
    for (size_t at = 0; at + 4 <= frame.size(); at += 4) {
        const float grey = (1.0F - static_cast<float>(frame[at + 3]) / 255.0F) * 90.0F;
        for (size_t channel = 0; channel < 3; ++channel) {
            pixels.push_back(
                static_cast<uint8_t>(std::min(static_cast<float>(frame[at + channel]) + grey, 255.0F)));
        }
    }
    return pixels;
}

std::vector<uint8_t> withStraightAlpha(const std::vector<uint8_t>& frame) {
    std::vector<uint8_t> pixels(frame.size(), 0);
    for (size_t at = 0; at + 4 <= frame.size(); at += 4) {
        const int32_t alpha = frame[at + 3];
        if (alpha == 0) continue;
        for (size_t channel = 0; channel < 3; ++channel) {
            pixels[at + channel] = static_cast<uint8_t>(std::min(frame[at + channel] * 255 / alpha, 255));
        }
        pixels[at + 3] = frame[at + 3];
    }
    return pixels;
}
