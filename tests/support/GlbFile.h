#pragma once

#include <array>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

/// A flat square in the plane z = 0, around its node's origin.
struct GlbQuad {
    std::string node{};
    std::string material{};
    std::array<float, 4> baseColor{1, 1, 1, 1};
    std::array<float, 3> normal{0, 0, 1};
    std::array<double, 3> translation{0, 0, 0};
    float size = 1;  ///< of a side
    int image = -1;  ///< from `addImage`
};

using GlbQuads = std::vector<GlbQuad>;

/// A glTF 2.0 binary file. Each `add` returns the index of the new entry in its list.
struct GlbFile {
    nlohmann::json document = {{"asset", {{"version", "2.0"}}}, {"nodes", nlohmann::json::array()}};
    std::string binary;

    explicit GlbFile(const GlbQuads& quads = {});

    int add(const char* list, nlohmann::json entry);
    int addView(std::string_view bytes);
    int addAccessor(int componentType, const char* type, size_t count, std::string_view bytes);
    int addImage(std::string_view bytes);
    int addQuad(const GlbQuad& quad);

    /// Puts the value at the place, a JSON pointer.
    void set(const std::string& place, const nlohmann::json& value) {
        document[nlohmann::json::json_pointer(place)] = value;
    }

    /// Returns the whole file. Its buffer is `binary`, unless `document` has buffers.
    [[nodiscard]] std::string bytes() const;
};

template <typename Number>
std::string bytesOf(const std::vector<Number>& numbers) {
    return {reinterpret_cast<const char*>(numbers.data()), numbers.size() * sizeof(Number)};
}

/// Returns the binary file with these two parts. An empty `binary` is left out.
std::string glbBytes(std::string text, std::string_view binary);

/// Returns a PNG file of one colour: red, green, blue, alpha.
std::string pngBytes(int width, int height, const std::array<uint8_t, 4>& color);
