#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>

/// How loud a stretch of sound is.
struct Loudness {
    int32_t peak = 0;  ///< largest sample, whatever its sign
    float rms = 0;     ///< root mean square of the samples
};

/// Returns the loudness of `count` samples, at least one. Threads: any.
Loudness loudnessOf(const int16_t* samples, size_t count);

/// Returns the noise of a room in which somebody speaks now and then: the loudness below which the quietest
/// fifth of its `chunks`, at least one, stays. Threads: any.
float roomNoise(const std::deque<float>& chunks);

/// Returns the loudness above which a chunk counts as loud in a room with this noise. Threads: any.
float loudnessThreshold(float noiseFloor);
