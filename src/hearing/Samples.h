#pragma once

#include <cstddef>
#include <cstdint>

/// Samples a second of all sound that is heard: 16 bits, one channel.
inline constexpr size_t sampleRate = 16000;

/// Returns the duration of so many samples, rounded down. Threads: any.
constexpr int32_t millisecondsOf(size_t samples) {
    return static_cast<int32_t>(samples * 1000 / sampleRate);
}
