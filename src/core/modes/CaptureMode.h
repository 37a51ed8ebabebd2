#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "presence/HeadPose.h"

/// The picture that `--shot` is to draw.
struct CaptureOrder {
    std::string path;               ///< of the file; empty: none was given
    std::optional<int32_t> height;  ///< pixels; none: the head's usual size
    HeadPose pose;
    bool withAlpha = false;
};

/// Reads "--shot PATH [--size HEIGHT] [--jaw DEGREES] [--yaw DEGREES] [--alpha]" from the command line, in
/// any order. A path ends at the first blank. What isn't a number counts as 0.
CaptureOrder captureOrder(const std::string& commandLine);

/// The run mode `--shot`: draws the head into a PNG file, without a display. `sizePx` is the setting, for an
/// order without a height. Returns the exit code: 1 when the head can't be drawn, 2 when the picture can't be
/// written.
int runCaptureMode(const std::string& commandLine, int32_t sizePx);
