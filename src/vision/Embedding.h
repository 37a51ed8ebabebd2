#pragma once

#include <span>
#include <vector>

// What tells a face from others: a direction in a space of many dimensions, kept at the length 1.

/// Brings the vector to the length 1; one of zeros stays as it is. False when it has entries that aren't
/// finite, or too large to be measured; it is then as it was.
[[nodiscard]] bool makeUnitLength(std::vector<float>& vector);

/// The cosine between two of them, 1 for the same direction. -1 when they differ in length or are empty.
float similarity(std::span<const float> a, std::span<const float> b);
