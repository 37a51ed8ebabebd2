#pragma once

#include <cstdint>
#include <span>

/// Detects a camera that shows only black from the start: its shutter is closed, or the system denies access.
///
/// Threads: one at a time.
class Darkness {
public:
    /// Takes the next picture's bytes. Returns true once, when the user should be told.
    [[nodiscard]] bool isNoticed(std::span<const uint8_t> pixels);

    /// Returns whether the bytes that it samples have an average of at least 3 of 255.
    [[nodiscard]] static bool isLit(std::span<const uint8_t> pixels);

private:
    int32_t litFrames = 0;
    int32_t darkRun = 0;  ///< dark pictures since the last lit one
};
