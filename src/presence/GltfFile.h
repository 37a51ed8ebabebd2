#pragma once

#include <tiny_gltf.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

enum class GltfResult { ok, invalid, buffersMissing };

/// A glTF 2.0 binary file, taken apart. It points into the bytes it was opened with. Once it is open, every
/// index in it that a head is read by is in range or -1 for none, and every node has at most one parent and
/// isn't its own ancestor. What accessors say about bytes isn't checked yet: that is GltfAccessor.h.
/// Threads: one at a time.
struct GltfFile {
    /// What lies around a head is small. These keep a made-up file from growing in memory far beyond its
    /// size.
    static constexpr size_t mostBytes = 256 << 20;
    static constexpr size_t mostJsonBytes = 4 << 20;
    static constexpr size_t mostEntries = 1 << 16;  ///< of each list
    static constexpr size_t mostImages = 1 << 10;

    tinygltf::Model lists;  ///< accessors, buffer views, materials, meshes, nodes, textures, and no others
    std::vector<std::string_view> buffers;
    std::vector<std::vector<unsigned char>> decodedBuffers;  ///< those that came as text
    std::vector<int32_t> imageViews;                         ///< each image's buffer view; -1: it has none
    std::vector<int32_t> parents;                            ///< each node's; -1: it has none
    std::vector<int32_t> topDown;                            ///< all nodes, each after its parent

    /// Fills a fresh object. `buffersMissing`: all is well but for buffers that lie elsewhere or are too
    /// short.
    [[nodiscard]] GltfResult open(std::string_view bytes);

    /// The bytes of one of the buffer views; empty when it reaches beyond its buffer.
    [[nodiscard]] std::string_view viewBytes(int32_t view) const;
};
