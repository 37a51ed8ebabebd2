#pragma once

#include <cstdint>

/// A read-only view of a picture: 4 bytes a pixel in the order blue, green, red, alpha; top row first;
/// `stride` bytes from one row to the next.
struct Picture {
    const uint8_t* pixels = nullptr;
    int32_t width = 0;
    int32_t height = 0;
    int32_t stride = 0;
};
