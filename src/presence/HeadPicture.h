#pragma once

#include <cstdint>
#include <string>
#include <vector>

// A drawn frame as a picture. Frames are 8-bit red, green, blue, alpha with the colours multiplied by alpha.

/// The frame over grey 90: three channels.
std::vector<uint8_t> overGrey(const std::vector<uint8_t>& frame);

/// The frame with straight alpha, its colours no longer multiplied: four channels, all 0 where alpha is 0.
std::vector<uint8_t> withStraightAlpha(const std::vector<uint8_t>& frame);
