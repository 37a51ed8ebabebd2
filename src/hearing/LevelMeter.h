#pragma once

#include <cstdint>

#include "hearing/Loudness.h"

/// Logs what comes from the microphone, muted or not, and notices a microphone that brings nothing: someone
/// who wonders why nothing is heard finds the answer in the log.
///
/// Threads: one at a time.
class LevelMeter {
public:
    /// Starts the watch for a dead microphone afresh.
    void restart();

    /// Takes the next chunk of `ms` milliseconds, and logs a line after each 5 seconds. Returns true once,
    /// when there was nothing but zeros for more than 4 seconds since `restart`.
    [[nodiscard]] bool add(const Loudness& loudness, int32_t ms, float noiseFloor, bool isMuted);

private:
    int32_t deadMs = 0;     ///< duration of nothing but zeros
    int32_t levelMs = 0;    ///< since the last line in the log
    int32_t levelPeak = 0;  ///< highest sample since the last line in the log
    bool heardSignal = false;
    bool deafWarned = false;
};
