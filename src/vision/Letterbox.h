#pragma once

#include <cstdint>
#include <span>

#include "vision/Picture.h"

/// Fills a square tensor of three planes (blue, green, red) with the picture, as large as it fits, in the top
/// left corner; the rest becomes zeros. `tensor` has 3 * side * side values, and the picture at least one
/// pixel. Returns the number of the tensor's pixels per picture pixel. Threads: any.
float letterbox(const Picture& picture, int32_t side, std::span<float> tensor);
