#include "presence/HeadModel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "support/GlbFile.h"
#include "support/TemporaryFolder.h"

using nlohmann::json;

namespace {

constexpr const char* invalid = "gltf parse failed";
constexpr const char* buffersMissing = "gltf buffers failed";

/// The log's last line, without its time.
std::string loggedLine() {
    std::string text;
    EXPECT_TRUE(readWholeFile(joinPath(dataFolder(), "velu.log"), text));
    const size_t start = text.rfind('\n', text.size() - 2);
    // Each line begins with 9 characters of time; without a line before it, `start` + 1 is 0.
    return text.substr(start + 10, text.size() - start - 11);
}

HeadModel parsed(const GlbFile& file) {
    HeadModel model;
    EXPECT_TRUE(parseHeadModel(file.bytes(), model)) << loggedLine();
    return model;
}

std::string failureOf(const std::string& bytes) {
    HeadModel model;
    EXPECT_FALSE(parseHeadModel(bytes, model));
    EXPECT_TRUE(model.parts.empty());
    return loggedLine();
}

GlbFile quads(int count) {
    GlbFile file;
    for (int i = 0; i < count; ++i)
        file.addQuad({});
    return file;
}

void change(GlbFile& file, const char* place, const char* value) {
    file.document[json::json_pointer(place)] = json::parse(value);
}

std::string withNumber(std::string bytes, size_t offset, uint32_t number) {
    return bytes.replace(offset, 4, bytesOf(std::vector<uint32_t>{number}));
}

TEST(HeadModel, APartComesWithAllThatTheFileSaysAboutIt) {
    GlbFile file;
    const int image = file.addImage(pngBytes(3, 2, {10, 20, 30, 40}));
    file.addQuad({.node = "Head",
                  .material = "Skin",
                  .baseColor = {0.5, 0.25, 0.125, 1},
                  .normal = {0, 1, 0},
                  .translation = {1, 2, 3},
                  .size = 2,
                  .image = image});
    // A quarter turn around z, then a move, from above; and a matrix below that scales x.
    file.document["nodes"].push_back({{"name", "Top"},
                                      {"children", {0, 2}},
                                      {"rotation", {0, 0, std::sqrt(0.5), std::sqrt(0.5)}},
                                      {"translation", {10, 0, 0}}});
    file.document["nodes"].push_back({{"matrix", {2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 0, 0, 1}}});
    const TemporaryFolder folder;
    const std::string path = joinPath(folder.path, "head.glb");
    file.write(path);

    HeadModel model;
    ASSERT_TRUE(readHeadModel(path, model));
    EXPECT_EQ(loggedLine(), "model loaded: 1 prims, scale 0.600");
    ASSERT_EQ(model.nodes.size(), 3U);
    EXPECT_EQ(model.nodes[1].name, "Top");
    EXPECT_EQ(model.nodes[2].name, "");
    const auto expectPoint = [&](int node, glm::vec3 from, glm::vec3 to) {
        EXPECT_LT(glm::distance(glm::vec3(model.nodes[node].world * glm::vec4(from, 1)), to), 1e-5F) << node;
    };
    expectPoint(0, {1, 0, 0}, {8, 2, 3});
    expectPoint(1, {1, 0, 0}, {10, 1, 0});
    expectPoint(2, {1, 0, 0}, {10, 7, 0});

    ASSERT_EQ(model.parts.size(), 1U);
    const HeadPart& part = model.parts[0];
    EXPECT_EQ(part.indices, (std::vector<uint32_t>{0, 1, 2, 0, 2, 3}));
    ASSERT_EQ(part.vertices.size(), 4U);
    EXPECT_EQ(part.vertices[2].position, glm::vec3(1, 1, 0));
    EXPECT_EQ(part.vertices[3].normal, glm::vec3(0, 1, 0));
    EXPECT_EQ(part.vertices[1].texture, glm::vec2(1, 1));
    EXPECT_EQ(part.baseColor, glm::vec4(0.5, 0.25, 0.125, 1));
    EXPECT_EQ(part.nodeIndex, 0);
    ASSERT_EQ(part.image, 0);
    EXPECT_EQ(model.images[0].width, 3);
    EXPECT_EQ(model.images[0].height, 2);
    EXPECT_EQ(std::vector<uint8_t>(model.images[0].pixels.end() - 4, model.images[0].pixels.end()),
              (std::vector<uint8_t>{10, 20, 30, 40}));
}

TEST(HeadModel, NamesTellTheJawAndTheGlows) {
    struct Case {
        const char* node;
        const char* material;
        bool isJaw;
        HeadGlow glow;
    };
    const Case cases[] = {
        {"Jaw", "skin", true, HeadGlow::none},          {"jaw", "Left EyeGlow 1", false, HeadGlow::eye},
        {"Jaw.001", "EARGLOW", false, HeadGlow::ear},   {"EyeGlow", "earglow eyeglow", false, HeadGlow::eye},
        {"EyeGlow", "eye glow", false, HeadGlow::none},
    };
    GlbFile file;
    for (const Case& item : cases)
        file.addQuad({.node = item.node, .material = item.material});
    const HeadModel model = parsed(file);
    ASSERT_EQ(model.parts.size(), std::size(cases));
    for (size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_EQ(model.parts[i].isJaw, cases[i].isJaw) << cases[i].node;
        EXPECT_EQ(model.parts[i].glow, cases[i].glow) << cases[i].material;
    }
}

TEST(HeadModel, TheSizeComesFromTheMeshesButJawAndMouth) {
    GlbFile file;
    file.addQuad({.node = "Jaw", .size = 8});
    file.addQuad({.node = "MouthInterior", .size = 8});
    EXPECT_EQ(parsed(file).scale, 0.6F);
    EXPECT_EQ(parsed(file).center, glm::vec3(0));
    file.addQuad({.translation = {100, 0, 0}, .size = 4});
    change(file, "/accessors/8/bufferView", "-1");
    EXPECT_EQ(parsed(file).scale, 0.6F) << "all in one point";
    file.addAccessor(5126, "VEC3", 4, bytesOf<float>({1, 1, 1, 5, 3, 1, 1, 1, 1, 1, 1, 2}));
    change(file, "/meshes/2/primitives/0/attributes/POSITION", "12");
    EXPECT_FLOAT_EQ(parsed(file).scale, 0.3F);
    EXPECT_EQ(parsed(file).center, glm::vec3(3, 2, 1.5));
    for (const float far : {3e38F, 1e-44F}) {
        file.addAccessor(5126, "VEC3", 4, bytesOf<float>({far, -far, far, 0, far, 0, 0, 0, 0, -far, 0, 0}));
        file.document["meshes"][2]["primitives"][0]["attributes"]["POSITION"] =
            file.document["accessors"].size() - 1;
        const HeadModel model = parsed(file);
        EXPECT_TRUE(std::isfinite(model.scale) && model.scale > 0) << far;
        EXPECT_TRUE(std::isfinite(model.center.x)) << far;
    }
}

TEST(HeadModel, EachFailureHasItsOwnLine) {
    HeadModel model;
    EXPECT_FALSE(readHeadModel("/dev/null/head.glb", model));
    EXPECT_EQ(loggedLine(), "cannot read model");

    const GlbFile good = quads(1);
    const std::string bytes = good.bytes();
    for (size_t size = 0; size < bytes.size(); size += size < 32 ? 1 : 37)
        EXPECT_EQ(failureOf(bytes.substr(0, size)), invalid) << size;
    const size_t binary = 20 + bytes[12] + 256 * static_cast<uint8_t>(bytes[13]);
    const auto jsonFile = [](const std::string& text) { return glbBytes(text, {}); };
    const std::pair<const char*, std::string> broken[] = {
        {"version 1", withNumber(bytes, 4, 1)},
        {"longer than it is", withNumber(bytes, 8, static_cast<uint32_t>(bytes.size() + 4))},
        {"shorter than its chunks", withNumber(bytes, 8, static_cast<uint32_t>(bytes.size() - 8))},
        {"a first chunk without end", withNumber(bytes, 12, 0xFFFFFFFF)},
        {"a first chunk of another type", withNumber(bytes, 16, 0)},
        {"a second chunk that is 8 too long",
         withNumber(bytes, binary, static_cast<uint32_t>(good.binary.size() + 8))},
        {"a second chunk of another type", withNumber(bytes, binary + 4, 0)},
        {"no object", jsonFile("[1, 2]")},
        {"no version", jsonFile(R"({"asset": {}})")},
        {"an old version", jsonFile(R"({"asset": {"version": "1.0"}})")},
        {"deep nesting", jsonFile(R"({"asset": {"version": "2.0"}, "nodes": [{"extras": )" +
                                  std::string(100000, '[') + std::string(100000, ']') + "}]}")},
        {"too many nodes",
         jsonFile(json{{"asset", {{"version", "2.0"}}}, {"nodes", std::vector<json>(70000, json::object())}}
                      .dump())},
    };
    for (const auto& [what, file] : broken)
        EXPECT_EQ(failureOf(file), invalid) << what;
    EXPECT_EQ(failureOf(GlbFile().bytes()), "model loaded: 0 prims, scale 0.600");

    for (const char* buffers : {R"([{"byteLength": 100000}])", R"([{"byteLength": 4, "uri": "head.bin"}])",
                                R"([{"byteLength": 4, "uri": "data:application/octet-stream;base64,AA=="}])",
                                R"([{"byteLength": 4}, {"byteLength": 4}])"}) {
        GlbFile file = quads(1);
        change(file, "/buffers", buffers);
        EXPECT_EQ(failureOf(file.bytes()), buffersMissing) << buffers;
    }
}

TEST(HeadModel, AReferenceOutOfRangeMakesTheFileInvalid) {
    const std::pair<const char*, const char*> changes[] = {
        {"/nodes/0/mesh", "2"},
        {"/nodes/0/mesh", "-2"},
        {"/nodes/0/children", "[2]"},
        {"/nodes/0/children", "[-1]"},
        {"/nodes/0/children", "[0]"},
        {"/nodes/0/children", "[1, 1]"},
        {"/nodes/0/matrix", "[1, 0, 0]"},
        {"/nodes/0/rotation", "[0, 0, 0]"},
        {"/nodes", R"([{"children": [1]}, {"children": [0]}])"},
        {"/nodes", R"([{"children": [2]}, {"children": [2]}, {}])"},
        {"/meshes/0/primitives/0/indices", "8"},
        {"/meshes/0/primitives/0/material", "2"},
        {"/meshes/0/primitives/0/attributes/POSITION", "8"},
        {"/meshes/0/primitives/0/attributes/_OTHER", "-1"},
        {"/accessors/1/bufferView", "8"},
        {"/accessors/1/sparse", R"({"count": 1, "indices": {"bufferView": 8, "componentType": 5121},
                                    "values": {"bufferView": 0}})"},
        {"/bufferViews/0/buffer", "1"},
        {"/materials/0/pbrMetallicRoughness/baseColorTexture", R"({"index": 0})"},
        {"/textures", R"([{"source": 0}])"},
        {"/images", R"([{"bufferView": 8}])"},
        {"/images", R"([{"bufferView": "0"}])"},
        {"/accessors", R"({"0": 1})"},
        {"/meshes", "[3]"},
        {"/buffers", R"([{"byteLength": -1}])"},
        {"/buffers", R"([{"byteLength": 1, "uri": 5}])"},
    };
    for (const auto& [place, value] : changes) {
        GlbFile file = quads(2);
        change(file, place, value);
        EXPECT_EQ(failureOf(file.bytes()), invalid) << place << " = " << value;
    }
}

TEST(HeadModel, APartThatCantBeDrawnIsLeftOut) {
    GlbFile file = quads(2);
    const int nan = file.addAccessor(
        5126, "VEC3", 4, bytesOf<float>(std::vector<float>(12, std::numeric_limits<float>::quiet_NaN())));
    const int high = file.addAccessor(5125, "SCALAR", 3, bytesOf<uint32_t>({0, 1, 4}));
    const int two = file.addAccessor(5125, "SCALAR", 2, bytesOf<uint32_t>({0, 1}));
    const auto text = [](int number) { return std::to_string(number); };
    const std::pair<const char*, std::string> changes[] = {
        {"/meshes/0/primitives/0/attributes", "{}"},
        {"/meshes/0/primitives/0/attributes", R"({"NORMAL": 1})"},
        {"/meshes/0/primitives/0/attributes/POSITION", text(nan)},
        {"/meshes/0/primitives/0/indices", "-1"},
        {"/meshes/0/primitives/0/indices", text(high)},
        {"/meshes/0/primitives/0/indices", text(two)},
        {"/meshes/0/primitives/0/indices", "0"},
        {"/accessors/0/type", R"("SCALAR")"},
        {"/accessors/0/componentType", "5124"},
        {"/accessors/0/count", "5"},
        {"/accessors/0/count", "18446744073709551615"},
        {"/accessors/0", R"({"componentType": 5126, "type": "VEC3", "count": 2147483648})"},
        {"/accessors/0/byteOffset", "18446744073709551612"},
        {"/accessors/3/count", "4294967296"},
        {"/bufferViews/0/byteOffset", "18446744073709551612"},
        {"/bufferViews/0/byteLength", "47"},
        {"/bufferViews/0/byteStride", "252"},
    };
    for (const auto& [place, value] : changes) {
        GlbFile changed = file;
        change(changed, place, value.c_str());
        const HeadModel model = parsed(changed);
        ASSERT_EQ(model.parts.size(), 1U) << place << " = " << value;
        EXPECT_EQ(model.parts[0].nodeIndex, 1) << place;
        EXPECT_FLOAT_EQ(model.scale, 1.2F) << place;
    }
}

TEST(HeadModel, ANodeBeyondAllNumbersKeepsItsPlaceOnly) {
    GlbFile file = quads(2);
    change(file, "/nodes/1/children", "[0]");
    change(file, "/nodes/1/scale", "[1e300, 1, 1]");
    change(file, "/nodes/0/scale", "[1e30, 1, 1]");
    const HeadModel model = parsed(file);
    EXPECT_EQ(model.nodes[0].world, glm::mat4(1));
    ASSERT_EQ(model.parts.size(), 1U);
    EXPECT_EQ(model.parts[0].nodeIndex, 1);
}

TEST(HeadModel, WhatAPartLacksHasItsDefault) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const glm::vec3 ahead(0, 0, 1);
    const glm::vec3 up(0, 1, 0);
    struct Case {
        const char* what;
        std::vector<float> normals;
        const char* type;
        size_t count;
        glm::vec3 first;
        glm::vec3 last;
    };
    const Case cases[] = {
        {"as many", {0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0}, "VEC3", 4, up, up},
        {"fewer", {0, 1, 0}, "VEC3", 1, up, ahead},
        {"more", {0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 2, 2, 2}, "VEC3", 5, up, up},
        {"one broken", {nan, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0}, "VEC3", 4, ahead, up},
        {"another type", {0, 1, 0, 0, 1, 0, 0, 1}, "VEC2", 4, ahead, ahead},
        {"not enough bytes", {0, 1, 0}, "VEC3", 4, ahead, ahead},
    };
    for (const Case& item : cases) {
        GlbFile file = quads(1);
        json& primitive = file.document["meshes"][0]["primitives"][0];
        primitive["attributes"].erase("TEXCOORD_0");
        primitive["attributes"]["TEXCOORD_1"] = 2;
        primitive.erase("material");
        primitive["attributes"]["NORMAL"] =
            file.addAccessor(5126, item.type, item.count, bytesOf(item.normals));
        const HeadModel model = parsed(file);
        EXPECT_EQ(model.parts[0].vertices[0].normal, item.first) << item.what;
        EXPECT_EQ(model.parts[0].vertices[3].normal, item.last) << item.what;
        EXPECT_EQ(model.parts[0].vertices[0].texture, glm::vec2(0)) << item.what;
        EXPECT_EQ(model.parts[0].baseColor, glm::vec4(1)) << item.what;
    }
}

TEST(HeadModel, AccessorsOfEveryKindAreUnderstood) {
    GlbFile file = quads(1);
    const int bytes =
        file.addView(std::string("\x00\xFF\x80\x7F\x01\x00\x81\x00\xFF\xFF\x00\x80\x00\x00\xC0\x3F", 16));
    const int sparse = file.addView(bytesOf<uint16_t>({1, 3}));
    struct Case {
        std::string accessor;
        glm::vec2 second;  ///< the second vertex's place in the texture
    };
    const auto accessor = [&](int offset, int type, const std::string& more) {
        return R"({"type": "VEC2", "bufferView": )" + std::to_string(bytes) + R"(, "byteOffset": )" +
               std::to_string(offset) + R"(, "componentType": )" + std::to_string(type) + more + "}";
    };
    const std::string patch = R"("sparse": {"count": 2, "indices": {"bufferView": )" +
                              std::to_string(sparse) +
                              R"(, "componentType": 5123}, "values": {"bufferView": 2}}})";
    const Case cases[] = {
        {accessor(0, 5121, R"(, "count": 2)"), {128, 127}},
        {accessor(0, 5121, R"(, "count": 2, "normalized": true)"), {128 / 255.F, 127 / 255.F}},
        {accessor(0, 5120, R"(, "count": 2, "normalized": true)"), {-1, 1}},
        {accessor(4, 5123, R"(, "count": 2)"), {65535, 32768}},
        {accessor(4, 5122, R"(, "count": 2)"), {-1, -32768}},
        {accessor(4, 5122, R"(, "count": 2, "normalized": true)"), {-1 / 32767.F, -1}},
        {accessor(0, 5126, R"(, "count": 1)"), {0, 0}},
        {R"({"type": "VEC2", "componentType": 5126, "count": 4})", {0, 0}},
        {R"({"type": "VEC2", "componentType": 5126, "count": 4, )" + patch, {0, 1}},
        {R"({"type": "VEC2", "componentType": 5126, "count": 2, )" + patch, {0, 0}},
    };
    for (const Case& item : cases) {
        change(file, "/accessors/4", item.accessor.c_str());
        change(file, "/meshes/0/primitives/0/attributes/TEXCOORD_0", "4");
        EXPECT_EQ(parsed(file).parts[0].vertices[1].texture, item.second) << item.accessor;
    }
    // Every second of the quad's places, each 8 bytes.
    change(file, "/accessors/4", R"({"type": "VEC2", "bufferView": 2, "componentType": 5126, "count": 2})");
    change(file, "/bufferViews/2/byteStride", "16");
    EXPECT_EQ(parsed(file).parts[0].vertices[1].texture, glm::vec2(1, 0));
    const std::pair<int, std::string> indices[] = {{5121, bytesOf<uint8_t>({3, 2, 1, 0})},
                                                   {5123, bytesOf<uint16_t>({3, 2, 1, 0})},
                                                   {5125, bytesOf<uint32_t>({3, 2, 1, 0})}};
    for (const auto& [type, stored] : indices) {
        file.document["meshes"][0]["primitives"][0]["indices"] = file.addAccessor(type, "SCALAR", 4, stored);
        EXPECT_EQ(parsed(file).parts[0].indices, (std::vector<uint32_t>{3, 2, 1})) << type;
    }
}

TEST(HeadModel, ABufferMayBeTextInTheFile) {
    GlbFile file = quads(1);
    const int indices = file.addAccessor(5121, "SCALAR", 3, "");
    file.document["bufferViews"].back() = {{"buffer", 1}, {"byteLength", 3}};
    file.document["meshes"][0]["primitives"][0]["indices"] = indices;
    file.document["buffers"] = {{{"byteLength", file.binary.size()}},
                                {{"byteLength", 3}, {"uri", "data:application/gltf-buffer;base64,AwAB"}}};
    EXPECT_EQ(parsed(file).parts[0].indices, (std::vector<uint32_t>{3, 0, 1}));
}

TEST(HeadModel, ImagesAreSharedAndABadOneOnlyLeavesItsPartsBare) {
    const std::string png = pngBytes(2, 2, {1, 2, 3, 255});
    GlbFile file;
    std::string wide = pngBytes(1, 1, {0, 0, 0, 0});
    wide.replace(16, 4, std::string("\x00\x00\x40\x01", 4));
    // Says that it is one pixel, but unpacks into megabytes.
    std::string bomb = pngBytes(1024, 1024, {0, 0, 0, 0});
    bomb.replace(16, 8, std::string("\0\0\0\1\0\0\0\1", 8));
    const std::pair<std::string, int> images[] = {{"unused", -1}, {png, 0}, {png.substr(0, 40), -1},
                                                  {"GIF89a", -1}, {"", -1}, {wide, -1},
                                                  {bomb, -1},     {png, 1}};
    for (const auto& [bytes, place] : images)
        file.addImage(bytes);
    change(file, "/images/8", R"({"uri": "face.png"})");
    change(file, "/images/9", R"({"uri": "data:image/png;base64,"})");
    for (const int image : {1, 2, 3, 4, 5, 6, 7, 8, 9, 1})
        file.addQuad({.image = image});
    file.document["bufferViews"][2]["byteLength"] = 1 << 20;
    const HeadModel model = parsed(file);
    ASSERT_EQ(model.parts.size(), 10U);
    EXPECT_EQ(model.images.size(), 2U);
    for (size_t i = 0; i < 9; ++i)
        EXPECT_EQ(model.parts[i].image, i < 7 ? images[i + 1].second : -1) << i;
    EXPECT_EQ(model.parts[9].image, 0);
}

TEST(HeadModel, MeshesThatAreDrawnOverAndOverComeToAnEnd) {
    GlbFile file = quads(1);
    change(file, "/accessors/0", R"({"componentType": 5126, "type": "VEC3", "count": 1000000})");
    for (int i = 0; i < 9; ++i)
        file.document["nodes"].push_back({{"mesh", 0}});
    EXPECT_EQ(parsed(file).parts.size(), 4U);

    file = quads(1);
    json& primitives = file.document["meshes"][0]["primitives"];
    for (int i = 0; i < 999; ++i)
        primitives.push_back({{"attributes", json::object()}});
    for (int i = 0; i < 999; ++i)
        file.document["nodes"].push_back({{"mesh", 0}});
    const HeadModel model = parsed(file);
    EXPECT_EQ(model.nodes.size(), 1000U);
    EXPECT_EQ(model.parts.size(), 66U);
}

}  // namespace
