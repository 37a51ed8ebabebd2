#pragma once

#include <tiny_gltf.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

enum class GltfResult { ok, invalid, buffersMissing };

/// A parsed glTF 2.0 binary file. It points into the bytes that it was opened with. Once it is open, every
/// index that is needed to read a head is in range, or -1 for none, and every node has at most one parent and
/// isn't its own ancestor. The byte ranges of accessors aren't checked here; GltfAccessor.h does that.
///
/// Threads: one at a time.
struct GltfFile {
    /// Limits that keep a malicious file from using far more memory than its size.
    static constexpr size_t mostBytes = 256 << 20;
    static constexpr size_t mostJsonBytes = 4 << 20;
    static constexpr size_t mostEntries = 1 << 16;  ///< of each list
    static constexpr size_t mostImages = 1 << 10;

    tinygltf::Model lists;  ///< accessors, buffer views, materials, meshes, nodes, textures, and no others
    std::vector<std::string_view> buffers;
    std::vector<std::vector<unsigned char>> decodedBuffers;  ///< buffers that are text in the file
    std::vector<int32_t> imageViews;                         ///< buffer view of each image; -1: none
    std::vector<int32_t> parents;                            ///< parent of each node; -1: none
    std::vector<int32_t> topDown;                            ///< all nodes, each after its parent

    /// Parses the bytes; the object must be new. `buffersMissing`: the file is valid, but a buffer is in
    /// another file or too short.
    [[nodiscard]] GltfResult open(std::string_view bytes);

    /// Returns the bytes of a buffer view; none when it reaches beyond its buffer.
    [[nodiscard]] std::string_view viewBytes(int32_t view) const;
};
