#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>

/// How loud a stretch of sound is.
struct Loudness {
    int32_t peak = 0;  ///< the largest sample, whatever its sign
    float rms = 0;     ///< the root of the mean of the squared samples
};

/// Of at least one sample. Threads: any.
Loudness loudnessOf(const int16_t* samples, size_t count);

/// The loudness of a room in which now and then something is said: what the quieter fifth of its chunks stays
/// below. Of at least one chunk. Threads: any.
float roomNoise(const std::deque<float>& chunks);

/// Above this a chunk counts as loud in a room with this noise. Threads: any.
float loudnessThreshold(float noiseFloor);
