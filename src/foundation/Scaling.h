#pragma once

#include <cstdint>

/// Returns `value * numerator / denominator`, rounded to the nearest, halves away from zero. Sizes of the
/// user interface are given at 96 dots per inch and scaled by `mulDiv(value, dpi, 96)`. `denominator` is
/// above 0.
constexpr int32_t mulDiv(int32_t value, int32_t numerator, int32_t denominator) {
    const int64_t product = static_cast<int64_t>(value) * numerator;
    const int64_t half = product < 0 ? -(denominator / 2) : denominator / 2;
    return static_cast<int32_t>((product + half) / denominator);
}
