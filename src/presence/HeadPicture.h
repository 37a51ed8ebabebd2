#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Converts drawn frames to pictures. Frames are 8-bit red, green, blue, alpha; the colours are multiplied by
// alpha. Threads: any.

/// Returns the frame over grey 90: three channels.
std::vector<uint8_t> overGrey(const std::vector<uint8_t>& frame);

/// Returns the frame with straight alpha: four channels, all 0 where alpha is 0.
std::vector<uint8_t> withStraightAlpha(const std::vector<uint8_t>& frame);
