#include "hearing/LevelMeter.h"

#include <algorithm>

#include "foundation/Log.h"

namespace {

constexpr int32_t levelLineMs = 5000;
constexpr int32_t deafMs = 4000;

}  // namespace

void LevelMeter::restart() {
    heardSignal = false;
    deafWarned = false;
    deadMs = 0;
}

bool LevelMeter::add(const Loudness& loudness, int32_t ms, float noiseFloor, bool isMuted) {
    levelPeak = std::max(levelPeak, loudness.peak);
    levelMs += ms;
    if (levelMs >= levelLineMs) {
        logLine("mic level: peak=%d rms=%.0f noise=%.0f%s", levelPeak, static_cast<double>(loudness.rms),
                static_cast<double>(noiseFloor), isMuted ? " (muted)" : "");
        levelMs = 0;
        levelPeak = 0;
    }
    // A microphone that the system withholds brings zeros; one that works is never that quiet.
    if (loudness.peak >= 1) heardSignal = true;
    if (heardSignal || deafWarned) return false;
    deadMs += ms;
    deafWarned = deadMs > deafMs;
    return deafWarned;
}
