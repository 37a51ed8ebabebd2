#pragma once

#include <cstdint>
#include <span>

#include "vision/Picture.h"

/// Fills a square tensor of three planes, blue, green and red, with the picture: as large as it can be, in
/// the top left corner, and zeros where it isn't. `tensor` has 3 * side * side values, and the picture at
/// least one pixel. Gives how many of the tensor's pixels make one of the picture's.
float letterbox(const Picture& picture, int32_t side, std::span<float> tensor);
