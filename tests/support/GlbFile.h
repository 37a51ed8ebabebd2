#pragma once

#include <array>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

/// A flat square around its node's origin in the plane z = 0, as two triangles.
struct GlbQuad {
    std::string node{};
    std::string material{};
    std::array<float, 4> baseColor{1, 1, 1, 1};
    std::array<float, 3> normal{0, 0, 1};
    std::array<double, 3> translation{0, 0, 0};
    float size = 1;  ///< of a side
    int image = -1;  ///< from `addImage`
};

/// A glTF 2.0 binary file that a test makes. `document` may be changed in any way before it is written.
struct GlbFile {
    nlohmann::json document = {{"asset", {{"version", "2.0"}}}, {"nodes", nlohmann::json::array()}};
    std::string binary;

    // Each returns the place of what was added in its list.
    int addView(std::string_view bytes);
    int addAccessor(int componentType, const char* type, size_t count, std::string_view bytes);
    int addImage(std::string_view bytes);
    int addQuad(const GlbQuad& quad);  ///< a node, with a mesh and a material of its own

    /// The whole file. Its first buffer becomes the binary part, unless `document` has buffers.
    [[nodiscard]] std::string bytes() const;

    /// Fails the current test when it can't.
    void write(const std::string& path) const;
};

/// The bytes of the numbers, one after the other.
template <typename Number>
std::string bytesOf(const std::vector<Number>& numbers) {
    return {reinterpret_cast<const char*>(numbers.data()), numbers.size() * sizeof(Number)};
}

/// A whole binary file from its two parts, the first padded as it must be; without `binary` there is one
/// part.
std::string glbBytes(std::string text, std::string_view binary);

/// A PNG file of this size, all of one colour: red, green, blue, alpha.
std::string pngBytes(int width, int height, const std::array<uint8_t, 4>& color);
