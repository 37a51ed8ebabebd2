#include "support/GlbFile.h"

#include <stb_image_write.h>

using nlohmann::json;

GlbFile::GlbFile(const GlbQuads& quads) {
    for (const GlbQuad& quad : quads)
        addQuad(quad);
}

int GlbFile::add(const char* list, json entry) {
    document[list].push_back(std::move(entry));
    return static_cast<int>(document[list].size()) - 1;
}

int GlbFile::addView(std::string_view bytes) {
    const size_t offset = binary.size();
    binary += bytes;
    binary.resize((binary.size() + 3) / 4 * 4);
    return add("bufferViews", {{"buffer", 0}, {"byteOffset", offset}, {"byteLength", bytes.size()}});
}

int GlbFile::addAccessor(int componentType, const char* type, size_t count, std::string_view bytes) {
    const int view = addView(bytes);
    return add("accessors",
               {{"bufferView", view}, {"componentType", componentType}, {"type", type}, {"count", count}});
}

int GlbFile::addImage(std::string_view bytes) {
    return add("images", {{"bufferView", addView(bytes)}, {"mimeType", "image/png"}});
}

int GlbFile::addQuad(const GlbQuad& quad) {
    const float half = quad.size / 2;
    const auto& [x, y, z] = quad.normal;
    const std::string places =
        bytesOf<float>({-half, -half, 0, half, -half, 0, half, half, 0, -half, half, 0});
    const std::string normals = bytesOf<float>({x, y, z, x, y, z, x, y, z, x, y, z});
    json look = {{"baseColorFactor", quad.baseColor}};
    if (quad.image != -1) look["baseColorTexture"]["index"] = add("textures", {{"source", quad.image}});
    json part;
    part["attributes"]["POSITION"] = addAccessor(5126, "VEC3", 4, places);
    part["attributes"]["NORMAL"] = addAccessor(5126, "VEC3", 4, normals);
    part["attributes"]["TEXCOORD_0"] = addAccessor(5126, "VEC2", 4, bytesOf<float>({0, 1, 1, 1, 1, 0, 0, 0}));
    part["indices"] = addAccessor(5123, "SCALAR", 6, bytesOf<uint16_t>({0, 1, 2, 0, 2, 3}));
    part["material"] = add("materials", {{"name", quad.material}, {"pbrMetallicRoughness", look}});
    const int mesh = add("meshes", {{"primitives", json::array({part})}});
    return add("nodes", {{"name", quad.node}, {"mesh", mesh}, {"translation", quad.translation}});
}

std::string GlbFile::bytes() const {
    json whole = document;
    if (!whole.contains("buffers")) whole["buffers"] = json::array({{{"byteLength", binary.size()}}});
    return glbBytes(whole.dump(), binary);
}

std::string glbBytes(std::string text, std::string_view binary) {
    const auto number = [](size_t value) { return bytesOf<uint32_t>({static_cast<uint32_t>(value)}); };
    text.resize((text.size() + 3) / 4 * 4, ' ');
    std::string chunks = number(text.size()) + "JSON" + text;
    if (!binary.empty()) chunks.append(number(binary.size())).append("BIN\0", 4).append(binary);
    return "glTF" + number(2) + number(12 + chunks.size()) + chunks;
}

std::string pngBytes(int width, int height, const std::array<uint8_t, 4>& color) {
    std::string pixels;
    for (int i = 0; i < width * height; ++i)
        pixels.append(color.begin(), color.end());
    std::string file;
    const auto append = [](void* target, void* bytes, int size) {
        static_cast<std::string*>(target)->append(static_cast<const char*>(bytes), static_cast<size_t>(size));
    };
    (void)stbi_write_png_to_func(append, &file, width, height, 4, pixels.data(), width * 4);
    return file;
}
