#include "support/GlbFile.h"

#include <gtest/gtest.h>
#include <stb_image_write.h>

#include <fstream>

using nlohmann::json;

namespace {

int append(json& list, json entry) {
    list.push_back(std::move(entry));
    return static_cast<int>(list.size()) - 1;
}

std::string numberBytes(size_t number) {
    return bytesOf(std::vector<uint32_t>{static_cast<uint32_t>(number)});
}

}  // namespace

int GlbFile::addView(std::string_view bytes) {
    const size_t offset = binary.size();
    binary += bytes;
    binary.resize((binary.size() + 3) / 4 * 4);
    return append(document["bufferViews"],
                  {{"buffer", 0}, {"byteOffset", offset}, {"byteLength", bytes.size()}});
}

int GlbFile::addAccessor(int componentType, const char* type, size_t count, std::string_view bytes) {
    return append(
        document["accessors"],
        {{"bufferView", addView(bytes)}, {"componentType", componentType}, {"type", type}, {"count", count}});
}

int GlbFile::addImage(std::string_view bytes) {
    return append(document["images"], {{"bufferView", addView(bytes)}, {"mimeType", "image/png"}});
}

int GlbFile::addQuad(const GlbQuad& quad) {
    const float half = quad.size / 2;
    const auto& [x, y, z] = quad.normal;
    json look = {{"baseColorFactor", quad.baseColor}};
    if (quad.image != -1) {
        look["baseColorTexture"] = {{"index", append(document["textures"], {{"source", quad.image}})}};
    }
    const json attributes = {
        {"POSITION",
         addAccessor(5126, "VEC3", 4,
                     bytesOf<float>({-half, -half, 0, half, -half, 0, half, half, 0, -half, half, 0}))},
        {"NORMAL", addAccessor(5126, "VEC3", 4, bytesOf<float>({x, y, z, x, y, z, x, y, z, x, y, z}))},
        {"TEXCOORD_0", addAccessor(5126, "VEC2", 4, bytesOf<float>({0, 1, 1, 1, 1, 0, 0, 0}))}};
    const json primitive = {
        {"attributes", attributes},
        {"indices", addAccessor(5123, "SCALAR", 6, bytesOf<uint16_t>({0, 1, 2, 0, 2, 3}))},
        {"material",
         append(document["materials"], {{"name", quad.material}, {"pbrMetallicRoughness", look}})}};
    const int mesh = append(document["meshes"], {{"primitives", json::array({primitive})}});
    return append(document["nodes"],
                  {{"name", quad.node}, {"mesh", mesh}, {"translation", quad.translation}});
}

std::string GlbFile::bytes() const {
    json whole = document;
    if (!whole.contains("buffers")) whole["buffers"] = json::array({{{"byteLength", binary.size()}}});
    return glbBytes(whole.dump(), binary);
}

void GlbFile::write(const std::string& path) const {
    std::ofstream file(path, std::ios::binary);
    file << bytes();
    file.close();
    EXPECT_TRUE(file) << path;
}

std::string glbBytes(std::string text, std::string_view binary) {
    text.resize((text.size() + 3) / 4 * 4, ' ');
    std::string chunks = numberBytes(text.size()) + "JSON" + text;
    if (!binary.empty()) {
        chunks.append(numberBytes(binary.size())).append("BIN\0", 4).append(binary);
    }
    return "glTF" + numberBytes(2) + numberBytes(12 + chunks.size()) + chunks;
}

std::string pngBytes(int width, int height, const std::array<uint8_t, 4>& color) {
    std::string pixels;
    for (int i = 0; i < width * height; ++i)
        pixels.append(color.begin(), color.end());
    std::string file;
    const auto append = [](void* target, void* bytes, int size) {
        static_cast<std::string*>(target)->append(static_cast<const char*>(bytes), static_cast<size_t>(size));
    };
    EXPECT_NE(stbi_write_png_to_func(append, &file, width, height, 4, pixels.data(), width * 4), 0);
    return file;
}
