#include "hearing/Loudness.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace {

constexpr float leastNoise = 60;  // of a quiet room; otherwise digital silence would make every rustle loud
constexpr float noiseFactor = 2;
constexpr float noiseMargin = 150;
constexpr float leastThreshold = 450;

}  // namespace

Loudness loudnessOf(const int16_t* samples, size_t count) {
    // Whole numbers are exact, and several times as fast as floating point.
    int32_t peak = 0;
    uint64_t squares = 0;
    for (size_t at = 0; at < count; ++at) {
        const int32_t sample = samples[at];
        peak = std::max(peak, std::abs(sample));
        squares += static_cast<uint64_t>(sample * sample);
    }
    const double mean = static_cast<double>(squares) / static_cast<double>(count);
    return {peak, static_cast<float>(std::sqrt(mean))};
}

float roomNoise(const std::deque<float>& chunks) {
    std::vector<float> ordered(chunks.begin(), chunks.end());
    const auto fifth = ordered.begin() + static_cast<std::ptrdiff_t>(ordered.size() / 5);
    std::nth_element(ordered.begin(), fifth, ordered.end());
    return std::max(*fifth, leastNoise);
}

float loudnessThreshold(float noiseFloor) {
    return std::max(noiseFactor * noiseFloor + noiseMargin, leastThreshold);
}
