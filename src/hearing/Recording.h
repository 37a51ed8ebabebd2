#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// What a sound file holds.
struct Recording {
    std::vector<int16_t>
        samples;           ///< what lies behind "data", taken as 16 bits, one channel, 16,000 a second
    std::string mismatch;  ///< what the header says otherwise; empty when it agrees, or says nothing
};

/// Why there is no recording.
enum class RecordingError { none, tooShort, noData };

/// Reads the bytes of a WAV file: the samples are all that stands behind the first "data", its length
/// excepted, whatever the header says. Threads: any.
RecordingError readRecording(std::string_view bytes, Recording& recording);
