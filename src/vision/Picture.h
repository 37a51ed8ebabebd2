#pragma once

#include <cstdint>

/// A picture that somebody else keeps: 4 bytes a pixel in the order blue, green, red, alpha, the top row
/// first, `stride` bytes from one row to the next. It is only read.
struct Picture {
    const uint8_t* pixels = nullptr;
    int32_t width = 0;
    int32_t height = 0;
    int32_t stride = 0;
};
