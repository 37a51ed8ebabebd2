#include "vision/Letterbox.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "vision/Sampling.h"

float letterbox(const Picture& picture, int32_t side, std::span<float> tensor) {
    const float r = static_cast<float>(side) / static_cast<float>(std::max(picture.width, picture.height));
    const auto scaled = [r, side](int32_t length) {
        return std::min(static_cast<int32_t>(static_cast<float>(length) * r), side);
    };
    const auto place = [r](int32_t at) { return (static_cast<float>(at) + 0.5F) / r - 0.5F; };
    const int32_t width = scaled(picture.width);
    const int32_t height = scaled(picture.height);
    std::vector<Neighbours> columns(static_cast<size_t>(width));
    for (int32_t x = 0; x < width; ++x)
        columns[static_cast<size_t>(x)] = neighboursAt(place(x), picture.width);

    const size_t plane = static_cast<size_t>(side) * static_cast<size_t>(side);
    for (int32_t y = 0; y < side; ++y) {
        float* const blue = &tensor[static_cast<size_t>(y) * static_cast<size_t>(side)];
        int32_t x = 0;
        if (y < height) {
            const Neighbours row = neighboursAt(place(y), picture.height);
            for (; x < width; ++x) {
                const SampleSpot spot(picture.pixels, picture.stride, columns[static_cast<size_t>(x)], row);
                blue[x] = spot.value(0);
                blue[plane + x] = spot.value(1);
                blue[2 * plane + x] = spot.value(2);
            }
        }
        for (size_t i = 0; i < 3; ++i)
            std::fill(blue + i * plane + x, blue + i * plane + side, 0.0F);
    }
    return r;
}
