#pragma once

#include <cstdint>

/// A place on the screen in device pixels; y grows downwards. Screens left of or above the first one have
/// negative coordinates.
struct Point {
    int32_t x = 0;
    int32_t y = 0;
    bool operator==(const Point&) const = default;
};

/// A rectangle on the screen in device pixels; `right` and `bottom` are the first pixels outside it.
struct Rect {
    int32_t left = 0;
    int32_t top = 0;
    int32_t right = 0;
    int32_t bottom = 0;

    [[nodiscard]] int32_t width() const { return right - left; }
    [[nodiscard]] int32_t height() const { return bottom - top; }
    bool operator==(const Rect&) const = default;
};
