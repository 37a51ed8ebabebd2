#include "presence/HeadModel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>

#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "support/GlbFile.h"
#include "support/TestData.h"

using nlohmann::json;

namespace {

constexpr const char* invalid = "gltf parse failed";
constexpr float nan = std::numeric_limits<float>::quiet_NaN();

const json testHeads = json::parse(readTestData("heads.json"));

/// Returns the log's last line without the 9 characters of its time.
std::string loggedLine() {
    const std::string text = dataText("velu.log");
    const size_t start = text.rfind('\n', text.size() - 2) + 1;
    return text.substr(start + 9, text.size() - start - 10);
}

HeadModel parsed(const GlbFile& file) {
    HeadModel model;
    EXPECT_TRUE(parseHeadModel(file.bytes(), model)) << loggedLine();
    return model;
}

/// Returns what the log tells about the file.
std::string outcomeOf(const std::string& bytes) {
    HeadModel model;
    const bool isGood = parseHeadModel(bytes, model);
    EXPECT_EQ(isGood, !model.parts.empty());
    return loggedLine();
}

TEST(HeadModel, APartComesWithAllThatTheFileSaysAboutIt) {
    GlbFile file;
    const int image = file.addImage(pngBytes(3, 2, {10, 20, 30, 40}));
    file.addQuad({"Head", "Skin", {0.5, 0.25, 0.125, 1}, {0, 1, 0}, {1, 2, 3}, 2, image});
    // Its parent is a quarter turn around z with a move. A third node scales x and moves it.
    file.set("/nodes/1", {{"name", "Top"},
                          {"children", {0, 2}},
                          {"rotation", {0, 0, std::sqrt(0.5), std::sqrt(0.5)}},
                          {"translation", {10, 0, 0}}});
    file.set("/nodes/2", {{"matrix", {2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 0, 0, 1}}});
    const std::string path = joinPath(dataFolder(), "head.glb");
    ASSERT_TRUE(writeWholeFile(path, file.bytes()));
    HeadModel model;
    ASSERT_TRUE(readHeadModel(path, model));
    EXPECT_EQ(loggedLine(), "model loaded: 1 prims, scale 0.600");
    ASSERT_EQ(model.nodes.size(), 3U);
    const glm::vec3 places[] = {{8, 2, 3}, {10, 1, 0}, {10, 7, 0}};
    for (size_t i = 0; i < 3; ++i) {
        const glm::mat4& world = model.nodes[i].world;
        EXPECT_LT(glm::distance(glm::vec3(world[0] + world[3]), places[i]), 1e-5F) << i;
    }
    ASSERT_EQ(model.parts.size(), 1U);
    const HeadPart& part = model.parts[0];
    EXPECT_EQ(part.indices, (std::vector<uint32_t>{0, 1, 2, 0, 2, 3}));
    ASSERT_EQ(part.vertices.size(), 4U);
    EXPECT_EQ(part.vertices[2].position, glm::vec3(1, 1, 0));
    EXPECT_EQ(part.vertices[3].normal, glm::vec3(0, 1, 0));
    EXPECT_EQ(part.vertices[1].texture, glm::vec2(1, 1));
    EXPECT_EQ(part.baseColor, glm::vec4(0.5, 0.25, 0.125, 1));
    ASSERT_EQ(part.image, 0);
    EXPECT_EQ(model.images[0].width, 3);
    EXPECT_EQ(model.images[0].pixels[20], 10);
}

TEST(HeadModel, NamesTellTheJawAndTheGlows) {
    const HeadModel model = parsed(GlbFile(GlbQuads{{.node = "Jaw", .material = "eye glow"},
                                                    {.node = "jaw", .material = "Left EyeGlow 1"},
                                                    {.node = "Jaw.001", .material = "EARGLOW"}}));
    const HeadGlow glows[] = {HeadGlow::none, HeadGlow::eye, HeadGlow::ear};
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(model.parts[i].isJaw, i == 0);
        EXPECT_EQ(model.parts[i].glow, glows[i]) << i;
    }
}

TEST(HeadModel, TheSizeComesFromTheMeshesButJawAndMouth) {
    const std::tuple<std::vector<float>, float, glm::vec3> cases[] = {
        {{1, 1, 1, 5, 3, 1, 1, 1, 1, 1, 1, 2}, 0.3F, {3, 2, 1.5}},
        {std::vector<float>(12, 7), 0.6F, {7, 7, 7}},  // all in one point
        {{3e38F, -3e38F, 3e38F, 0, 3e38F, 0, 0, 0, 0, -3e38F, 0, 0}, 2e-39F, {0, 0, 1.5e38F}},
    };
    for (const auto& [corners, scale, center] : cases) {
        GlbFile file(GlbQuads{{.node = "Jaw", .size = 8}, {.node = "MouthInterior", .size = 8}, {}});
        const int accessor = file.addAccessor(5126, "VEC3", 4, bytesOf(corners));
        file.set("/meshes/2/primitives/0/attributes/POSITION", accessor);
        const HeadModel model = parsed(file);
        EXPECT_NEAR(model.scale / scale, 1, 1e-4) << corners[0];
        EXPECT_LE(glm::distance(model.center / corners[0], center / corners[0]), 1e-5F) << corners[0];
    }
}

TEST(HeadModel, AFileThatIsNotWholeIsInvalid) {
    HeadModel model;
    EXPECT_FALSE(readHeadModel("/dev/null/head.glb", model));
    EXPECT_EQ(loggedLine(), "cannot read model");
    const GlbFile good(GlbQuads(1));
    const std::string bytes = good.bytes();
    for (size_t size = 0; size < bytes.size(); size += size < 32 ? 1 : 37)
        EXPECT_EQ(outcomeOf(bytes.substr(0, size)), invalid) << size;
    const auto size = static_cast<uint32_t>(bytes.size());
    const size_t second = size - good.binary.size() - 8;  // chunk
    const std::pair<size_t, uint32_t> numbers[] = {
        {4, 1},                                                   // version 1
        {8, size + 4},                                            // longer than it is
        {8, size - 8},                                            // shorter than its chunks
        {12, 0xFFFFFFFF},                                         // a first chunk without end
        {16, 0},                                                  // a first chunk of another type
        {second, static_cast<uint32_t>(good.binary.size() + 8)},  // a second chunk that is 8 too long
        {second + 4, 0},                                          // a second chunk of another type
    };
    for (const auto& [offset, number] : numbers)
        EXPECT_EQ(outcomeOf(std::string(bytes).replace(offset, 4, bytesOf<uint32_t>({number}))), invalid)
            << offset;
}

// heads.json has the changes by what the log then says.
TEST(HeadModel, WhatIsBrokenInvalidatesTheFileOrIsLeftOut) {
    GlbFile good(GlbQuads(2));
    good.addAccessor(5126, "VEC3", 4, bytesOf(std::vector<float>(12, nan)));
    good.addAccessor(5125, "SCALAR", 3, bytesOf<uint32_t>({0, 1, 4}));
    good.addAccessor(5125, "SCALAR", 2, bytesOf<uint32_t>({0, 1}));
    for (const auto& [outcome, changes] : testHeads["changes"].items()) {
        for (const json& change : changes) {
            GlbFile file = good;
            file.set(change[0], change[1]);
            EXPECT_EQ(outcomeOf(file.bytes()), outcome) << change;
        }
    }
    // A node beyond all numbers has no parts, but keeps its place.
    good.set("/nodes/1/children", std::vector{0});
    good.set("/nodes/1/scale", {1e300, 1, 1});
    good.set("/nodes/0/scale", {1e30, 1, 1});
    const HeadModel model = parsed(good);
    EXPECT_EQ(model.nodes[0].world, glm::mat4(1));
    ASSERT_EQ(model.parts.size(), 1U);
    EXPECT_EQ(model.parts[0].nodeIndex, 1);
}

TEST(HeadModel, WhatAPartLacksHasItsDefault) {
    GlbFile file(GlbQuads(1));
    file.addAccessor(5126, "VEC3", 2, bytesOf<float>({nan, 1, 0, 0, 1, 0}));
    file.set("/meshes/0/primitives/0",
             {{"attributes", {{"POSITION", 0}, {"NORMAL", 4}, {"TEXCOORD_1", 2}}}, {"indices", 3}});
    const HeadPart part = parsed(file).parts[0];
    EXPECT_EQ(part.vertices[0].normal, glm::vec3(0, 0, 1));
    EXPECT_EQ(part.vertices[1].normal, glm::vec3(0, 1, 0));
    EXPECT_EQ(part.vertices[3].normal, glm::vec3(0, 0, 1));
    EXPECT_EQ(part.vertices[1].texture, glm::vec2(0));
    EXPECT_EQ(part.baseColor, glm::vec4(1));
}

TEST(HeadModel, AccessorsOfEveryKindAreUnderstood) {
    GlbFile file(GlbQuads(1));
    file.addView(std::string("\x00\xFF\x80\x7F\x01\x00\x81\x00\xFF\xFF\x00\x80\x00\x00\xC0\x3F", 16));
    file.addView(bytesOf<uint16_t>({1, 3}));
    file.set("/bufferViews/6", {{"buffer", 0}, {"byteOffset", 96}, {"byteLength", 32}, {"byteStride", 16}});
    // heads.json has accessors with the texture place that they give the second vertex.
    for (const json& item : testHeads["accessors"]) {
        file.set("/accessors/4", item[1]);
        file.set("/accessors/4/type", "VEC2");
        file.set("/meshes/0/primitives/0/attributes/TEXCOORD_0", 4);
        EXPECT_EQ(parsed(file).parts[0].vertices[1].texture, glm::vec2(item[0][0], item[0][1])) << item;
    }
    file.set("/meshes/0/primitives/0/indices", file.addAccessor(5121, "SCALAR", 3, "\3\2\1"));
    EXPECT_EQ(parsed(file).parts[0].indices, (std::vector<uint32_t>{3, 2, 1}));
    // A buffer may be text in the file.
    file.set("/buffers", {{{"byteLength", file.binary.size()}},
                          {{"byteLength", 4}, {"uri", "data:application/gltf-buffer;base64,AwABAA=="}}});
    file.set("/bufferViews/7", {{"buffer", 1}, {"byteLength", 4}});
    file.set("/meshes/0/primitives/0/indices", 5);
    EXPECT_EQ(parsed(file).parts[0].indices, (std::vector<uint32_t>{3, 0, 1}));
}

TEST(HeadModel, ImagesAreSharedAndABadOneOnlyLeavesItsPartsBare) {
    const std::string png = pngBytes(2, 2, {1, 2, 3, 255});
    const std::string wide = pngBytes(1, 1, {0, 0, 0, 0}).replace(16, 4, std::string("\x00\x00\x40\x01", 4));
    GlbFile file;
    for (const std::string& image : {png, png.substr(0, 40), wide, png})
        file.addImage(image);
    for (const int image : {0, 1, 2, 3, 0})
        file.addQuad({.image = image});
    const HeadModel model = parsed(file);
    std::vector<int32_t> images;
    for (const HeadPart& part : model.parts)
        images.push_back(part.image);
    EXPECT_EQ(images, (std::vector<int32_t>{0, -1, -1, 1, 0}));
}

TEST(HeadModel, MeshesThatAreDrawnOverAndOverComeToAnEnd) {
    GlbFile large(GlbQuads(1));
    large.set("/accessors/0", {{"componentType", 5126}, {"type", "VEC3"}, {"count", 1000000}});
    for (int i = 0; i < 9; ++i)
        large.add("nodes", {{"mesh", 0}});
    EXPECT_EQ(parsed(large).parts.size(), 4U);
}

}  // namespace
