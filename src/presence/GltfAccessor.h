#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

struct GltfFile;

// The values that an accessor of an open file stands for: strided, normalised, sparse, or without bytes,
// which makes zeros. An accessor is read up to its first `most` elements. False when it has another shape, a
// component type that glTF doesn't know, or tells of bytes that aren't there; `out` is then worth nothing.
// Threads: any, as long as the file isn't changed.

/// Vectors of `width` floats, one after the other; they may be infinite or not a number.
[[nodiscard]] bool readVectors(const GltfFile& file, int32_t accessor, int32_t width, size_t most,
                               std::vector<float>& out);

/// Single unsigned integers of any width.
[[nodiscard]] bool readIndices(const GltfFile& file, int32_t accessor, size_t most,
                               std::vector<uint32_t>& out);
