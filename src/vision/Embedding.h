#pragma once

#include <span>
#include <vector>

// Embeddings of faces: vectors of length 1. Those of one person have similar directions. Threads: any.

/// Scales the vector to length 1; a zero vector is unchanged. Returns false, with the vector unchanged, when
/// its length isn't finite.
[[nodiscard]] bool makeUnitLength(std::vector<float>& vector);

/// Returns the cosine between two embeddings: 1 for the same direction. Returns -1 when their sizes differ or
/// are 0.
float similarity(std::span<const float> a, std::span<const float> b);
