#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "presence/HeadPose.h"

/// What a picture of the head is taken of, and where it goes.
struct CaptureOrder {
    std::string path;               ///< empty: none was given
    std::optional<int32_t> height;  ///< pixels; none: the head's usual size
    HeadPose pose;
    bool withAlpha = false;
};

/// Reads "--shot PATH [--size HEIGHT] [--jaw DEGREES] [--yaw DEGREES] [--alpha]" out of the command line; the
/// order of the switches is free. A path ends at the first blank. What isn't a number counts as 0.
CaptureOrder captureOrder(const std::string& commandLine);

/// The run mode `--shot`: draws the head into a PNG file. Needs no display. Returns the exit code: 1 when the
/// head can't be drawn, 2 when the picture can't be written.
int runCaptureMode(const std::string& commandLine);
