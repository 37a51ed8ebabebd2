#pragma once

#include <array>

/// A face in a picture. Coordinates are in pixels.
struct Face {
    float x = 0;  ///< the box's top left corner
    float y = 0;
    float w = 0;
    float h = 0;
    float score = 0;                    ///< 0 to 1
    std::array<float, 10> landmarks{};  ///< five points, each x then y, in the detector's order
};

static_assert(sizeof(Face) == 15 * sizeof(float));
