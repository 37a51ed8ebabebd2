#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

struct GltfFile;

// Reads the values of an accessor of an open file: strided, normalised, sparse, or without bytes, which gives
// zeros. At most the first `most` elements are read. The functions return false when the accessor has another
// shape, an unknown component type, or refers to bytes that don't exist; `out` is undefined then. Threads:
// any, as long as the file isn't changed.

/// Reads vectors of `width` floats, one after the other. Values may be infinite or NaN.
[[nodiscard]] bool readVectors(const GltfFile& file, int32_t accessor, int32_t width, size_t most,
                               std::vector<float>& out);

/// Reads unsigned integers of any width.
[[nodiscard]] bool readIndices(const GltfFile& file, int32_t accessor, size_t most,
                               std::vector<uint32_t>& out);
