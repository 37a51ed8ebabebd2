#pragma once

#include <cstdint>
#include <glm/glm.hpp>
#include <string>
#include <string_view>
#include <vector>

// The head from its glTF 2.0 binary file: a flat list of drawable parts, fully checked, so that a renderer
// needn't check again. Matrices are glm's: column vectors, `m * v`. Threads: one at a time.

/// A vertex in the layout of the graphics card's buffer: 32 bytes.
struct HeadVertex {
    glm::vec3 position{0};
    glm::vec3 normal{0, 0, 1};
    glm::vec2 texture{0};
};
static_assert(sizeof(HeadVertex) == 32);

/// One node of the file, with or without a mesh.
struct HeadNode {
    glm::mat4 world{1};  ///< to model space, parents included
    std::string name;
};

/// The light of the pose that a part shows.
enum class HeadGlow : int32_t { none, eye, ear };

/// One drawable part of a node.
struct HeadPart {
    std::vector<HeadVertex> vertices;
    std::vector<uint32_t> indices;  ///< three for each triangle, each below `vertices.size()`
    glm::vec4 baseColor{1};         ///< linear red, green, blue, and alpha
    HeadGlow glow = HeadGlow::none;
    int32_t image = -1;     ///< base colour texture, in `HeadModel::images`; -1: none
    int32_t nodeIndex = 0;  ///< its node, in `HeadModel::nodes`
    bool isJaw = false;     ///< turns with the jaw
};

/// A decoded texture: 8-bit sRGB red, green, blue, alpha, top row first. Parts share it.
struct HeadImage {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> pixels;
};

/// The whole head. Moved by -`center` and scaled by `scale`, it is centred on the origin and its longest side
/// measures 1.2. Jaw and mouth interior don't count for the size.
struct HeadModel {
    std::vector<HeadNode> nodes;  ///< in file order
    std::vector<HeadPart> parts;  ///< in file order
    std::vector<HeadImage> images;
    float scale = 0.6F;
    glm::vec3 center{0};
};

/// Reads a model file. Returns false, with one line in the log, when the file can't be read, isn't valid
/// glTF, needs other files, or has nothing to draw. An image that can't be decoded leaves its parts without a
/// texture; a part that can't be drawn is left out.
[[nodiscard]] bool readHeadModel(const std::string& path, HeadModel& model);

/// `readHeadModel` for bytes in memory.
[[nodiscard]] bool parseHeadModel(std::string_view bytes, HeadModel& model);
