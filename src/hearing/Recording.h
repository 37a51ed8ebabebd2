#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The sound of a WAV file.
struct Recording {
    std::vector<int16_t> samples;  ///< taken as 16 bits, one channel, 16,000 a second
    std::string mismatch;          ///< the format in the header, if it is another one; otherwise empty
};

/// Why a file holds no recording.
enum class RecordingError { none, tooShort, noData };

/// Reads the bytes of a WAV file into `recording`: everything behind the first "data" and its length,
/// whatever the header says. Returns why it can't, or `none`. Threads: any.
RecordingError readRecording(std::string_view bytes, Recording& recording);
