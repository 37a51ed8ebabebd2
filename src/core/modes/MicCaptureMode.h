#pragma once

#include <cstdint>
#include <string>

class Companion;

/// What is to be recorded, and where to.
struct MicCaptureOrder {
    std::string path;  ///< empty: none was given
    int32_t seconds = 0;
    std::string device;  ///< a part of a microphone's name; empty: the one that the system prefers
};

/// Reads "WAV SECONDS [--dev NAME]"; a path with blanks stands in double quotes. What isn't a number counts
/// as 0.
MicCaptureOrder micCaptureOrder(const std::string& arguments);

/// The run mode `--miccap`: records the microphone into a WAV file, until the seconds have passed or the
/// program is asked to end. What the microphone has to complain of goes to standard error. Returns the exit
/// code: 1 when the file can't be written, 2 when none was named.
int runMicCaptureMode(Companion& companion, const MicCaptureOrder& order);
