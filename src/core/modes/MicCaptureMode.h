#pragma once

#include <cstdint>
#include <string>

class Companion;

/// What `--miccap` is to record.
struct MicCaptureOrder {
    std::string path;  ///< of the file; empty: none was given
    int32_t seconds = 0;
    std::string device;  ///< part of a microphone's name; empty: the system's default
};

/// Reads "WAV SECONDS [--dev NAME]"; a path with blanks needs double quotes. What isn't a number counts
/// as 0.
MicCaptureOrder micCaptureOrder(const std::string& arguments);

/// The run mode `--miccap`: records the microphone into a WAV file until the seconds have passed or the
/// program is asked to end. Problems of the microphone go to standard error. Returns the exit
/// code: 1 when the file can't be written, 2 when no file was given.
int runMicCaptureMode(Companion& companion, const MicCaptureOrder& order);
