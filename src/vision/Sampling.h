#pragma once

#include <algorithm>
#include <cstdint>

// Bilinear sampling of pictures. Threads: any.

/// The two pixels on both sides of a place, along one axis.
struct Neighbours {
    int32_t first = 0;
    int32_t second = 0;
    float share = 0;  ///< weight of the second, 0 to 1
};

/// Returns the neighbours of a place, clamped to `length` pixels (at least 1). NaN is clamped too.
inline Neighbours neighboursAt(float place, int32_t length) {
    // One pixel has no second neighbour, and beyond some ten thousand the limit is rounded up.
    const float limit = static_cast<float>(length) - 1.001F;
    const float inside = std::max(0.0F, std::min(limit, place));
    const auto first = std::min(static_cast<int32_t>(inside), length - 1);
    return {first, std::min(first + 1, length - 1), inside - static_cast<float>(first)};
}

/// The four pixels around a place, and their weights.
struct SampleSpot {
    const uint8_t* topLeft;
    const uint8_t* topRight;
    const uint8_t* bottomLeft;
    const uint8_t* bottomRight;
    float dx;
    float dy;

    SampleSpot(const uint8_t* pixels, int32_t stride, const Neighbours& x, const Neighbours& y)
        : topLeft(pixels + int64_t{y.first} * stride + int64_t{x.first} * 4),
          topRight(pixels + int64_t{y.first} * stride + int64_t{x.second} * 4),
          bottomLeft(pixels + int64_t{y.second} * stride + int64_t{x.first} * 4),
          bottomRight(pixels + int64_t{y.second} * stride + int64_t{x.second} * 4),
          dx(x.share),
          dy(y.share) {}

    [[nodiscard]] float value(int32_t channel) const {
        const auto at = [channel](const uint8_t* pixel) { return static_cast<float>(pixel[channel]); };
        return (at(topLeft) * (1 - dx) + at(topRight) * dx) * (1 - dy) +
               (at(bottomLeft) * (1 - dx) + at(bottomRight) * dx) * dy;
    }
};

/// Returns the channel's value, 0 to 255, at a place, which is clamped to the picture. The picture must have
/// a pixel.
float sampleBilinear(const uint8_t* pixels, int32_t width, int32_t height, int32_t stride, float fx, float fy,
                     int32_t channel);
