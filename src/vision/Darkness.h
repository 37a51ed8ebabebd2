#pragma once

#include <cstdint>
#include <span>

/// Notices a camera that shows nothing but black from the start: its shutter is closed, or the system forbids
/// it to see. Threads: one.
class Darkness {
public:
    /// Takes the next picture's bytes. True once, when it is time to tell the user.
    [[nodiscard]] bool isNoticed(std::span<const uint8_t> pixels);

    /// Whether anything can be seen in these bytes: those that are looked at are 3 of 255 bright, on average.
    [[nodiscard]] static bool isLit(std::span<const uint8_t> pixels);

private:
    int32_t litFrames = 0;
    int32_t darkRun = 0;  ///< pictures since the last that was lit
};
