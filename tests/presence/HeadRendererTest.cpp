// Pictures of small heads, compared with colours that were worked out by hand from the lighting's formula.

#include "presence/HeadRenderer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "foundation/Files.h"
#include "foundation/Image.h"
#include "foundation/Paths.h"
#include "support/GlbFile.h"

namespace {

// Odd, so that one pixel's middle is the middle of the view.
constexpr int width = 101;
constexpr int height = 119;

using Pixel = std::array<int, 4>;  // red, green, blue, alpha

void expectColor(const Pixel& pixel, const Pixel& color, int tolerance, const std::string& what) {
    for (size_t channel = 0; channel < 3; ++channel)
        EXPECT_NEAR(pixel[channel], color[channel], tolerance) << what << ", channel " << channel;
}

const HeadPose straight{.eyeGlow = 0};
const std::array<float, 4> brown{0.5F, 0.25F, 0.125F, 1};
const Pixel litBrown{180, 133, 103};

class HeadRendererTest : public testing::Test {
protected:
    void SetUp() override {
        std::string problem;
        surface = HeadSurface::offscreen(problem);
        ASSERT_NE(surface, nullptr) << problem;
    }

    void load(const GlbFile& file) {
        ASSERT_TRUE(writeWholeFile(model, file.bytes()));
        renderer = std::make_unique<HeadRenderer>();
        ASSERT_TRUE(renderer->initialize(*surface, width, height, model));
    }

    /// Draws a picture, whose pixels `at` then reads.
    void take(const HeadPose& pose, bool withAlpha = false) {
        std::string bytes;
        EXPECT_TRUE(renderer->capture(path, pose, withAlpha));
        EXPECT_TRUE(readWholeFile(path, bytes) && decodeImage(bytes, picture));
        EXPECT_EQ(bytes[25], withAlpha ? 6 : 2) << "the PNG's kind of pixels";
    }
    [[nodiscard]] Pixel at(int x, int y) const {
        const uint8_t* const pixel = &picture.pixels[static_cast<size_t>(y * picture.width + x) * 4];
        return {pixel[0], pixel[1], pixel[2], pixel[3]};
    }
    [[nodiscard]] Pixel middle() const { return at(picture.width / 2, picture.height / 2); }

    const std::string model = joinPath(dataFolder(), "head.glb");
    const std::string path = joinPath(dataFolder(), "head.png");
    Image picture;
    std::unique_ptr<HeadSurface> surface;
    std::unique_ptr<HeadRenderer> renderer;
};

TEST_F(HeadRendererTest, LightsAPointAsTheFormulaSays) {
    const std::array<float, 3> ahead{0, 0, 1};
    const struct {
        const char* what;
        const char* material;
        std::array<float, 3> normal;
        HeadPose pose;  // pitch, yaw, roll, jaw, eyeGlow, earGlow, eyeTint, dim
        Pixel color;
    } cases[] = {
        {"the normal to the right", "shell", {0.6F, 0, 0.8F}, straight, {150, 113, 93}},
        {"the normal up left, not of length 1", "shell", {-1, 1, 0.2F}, straight, {194, 157, 143}},
        {"turned", "shell", ahead, {.pitch = -4, .yaw = 30}, {162, 121, 97}},
        {"no glow without its name", "shell", ahead, {.eyeGlow = 0.25F, .earGlow = 0.1F}, litBrown},
        {"eye", "left EyeGlow", ahead, {.eyeGlow = 0.25F, .earGlow = 0.1F}, {180, 177, 163}},
        {"ear", "earglow", ahead, {.eyeGlow = 0.25F, .earGlow = 0.1F}, {196, 137, 120}},
        {"sleeping eye", "eyeglow", ahead, {.eyeGlow = 0, .eyeTint = 0.05F, .dim = 0.55F}, {39, 31, 27}},
    };
    for (const auto& row : cases) {
        load(GlbFile(GlbQuads{{.material = row.material, .baseColor = brown, .normal = row.normal}}));
        take(row.pose);
        expectColor(middle(), row.color, 1, row.what);
    }
}

TEST_F(HeadRendererTest, ATextureIsDecodedFromSrgbAndAMissingOneLeavesTheColour) {
    for (const auto& [image, color] : {std::pair(pngBytes(2, 2, {200, 100, 255, 255}), Pixel{141, 56, 103}),
                                       std::pair(std::string("this is no picture"), litBrown)}) {
        GlbFile file;
        file.addQuad({.baseColor = brown, .image = file.addImage(image)});
        load(file);
        take(straight);
        expectColor(middle(), color, 1, "texture");
    }
}

TEST_F(HeadRendererTest, WhatIsNotHeadIsGreyOrClearAndEdgesAreSoft) {
    load(GlbFile(GlbQuads{{.baseColor = brown}}));
    const HeadPose rolled{.roll = 10, .eyeGlow = 0};
    take(rolled);
    expectColor(at(0, 0), {90, 90, 90}, 0, "outside");
    const Image grey = picture;
    take(rolled, true);
    EXPECT_EQ(at(0, 0), Pixel{});
    // A left edge: from the background over pixels that are partly covered to the inside.
    int soft = 0;
    for (int y = height / 2 - 20; y < height / 2 + 20; ++y) {
        for (int x = 1; x < width / 2; ++x) {
            const int alpha = at(x, y)[3];
            if (alpha == 0 || alpha == 255) continue;
            ASSERT_EQ(at(x + 2, y)[3], 255);
            expectColor(at(x, y), at(x + 2, y), 6, "edge");
            const int over = at(x, y)[0] * alpha / 255 + 90 * (255 - alpha) / 255;
            EXPECT_NEAR(grey.pixels[static_cast<size_t>(y * width + x) * 4], over, 2) << x << ", " << y;
            soft += std::abs(alpha - 128) <= 1;
        }
    }
    EXPECT_GT(soft, 3);
}

TEST_F(HeadRendererTest, WithoutACompositorTheWindowIsCutToTheHead) {
    std::vector<Rect> rows;
    surface = std::make_unique<HeadSurface>(HeadSurface::Operations{
        [hidden = std::shared_ptr(std::move(surface))] { return hidden->makeCurrent(); }, [] { return true; },
        [] {}, [] { return true; }, [&](const std::vector<Rect>& cut) { rows = cut; }});
    // A small part above a large one.
    load(GlbFile(GlbQuads{{}, {.translation = {0, 0.6, 0}, .size = 0.2F}}));
    take(straight, true);
    renderer->render(straight);
    std::vector<Rect> expected;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            if (at(x, y)[3] < 128) continue;
            if (x == 0 || at(x - 1, y)[3] < 128) expected.push_back({x, y, x, y + 1});
            expected.back().right = x + 1;
        }
    }
    EXPECT_NE(expected.front().width(), expected.back().width());
    EXPECT_EQ(rows, expected);
}

TEST_F(HeadRendererTest, TheJawTurnsAboutItsOwnHingeAndTheNearerPartHides) {
    // A small green part in front, a red one that is drawn later, and a blue jaw with its hinge across its
    // middle.
    load(GlbFile(
        GlbQuads{{.baseColor = {0, 0.5F, 0, 1}, .translation = {0, 0.3, 0.2}, .size = 0.2F},
                 {.baseColor = {0.5F, 0, 0, 1}},
                 {.node = "Jaw", .baseColor = {0, 0, 1, 1}, .translation = {0, -0.3, 0.1}, .size = 0.4F}}));
    EXPECT_FLOAT_EQ(renderer->scale, 1.2F);  // by the quad of side 1: the jaw doesn't count
    const auto rows = [this](const HeadPose& pose, size_t channel) {
        take(pose);
        int count = 0;
        for (int y = 0; y < height; ++y)
            count += at(width / 2, y)[channel] > std::max(at(width / 2, y)[0], at(width / 2, y)[3 - channel]);
        return count;
    };
    EXPECT_GT(rows(straight, 1), 5);
    const int closed = rows(straight, 2);
    EXPECT_GT(closed, 20);
    const int open = rows({.jaw = 80, .eyeGlow = 0}, 2);  // seen almost from its edge
    EXPECT_GT(open, 0);
    EXPECT_LT(open, closed / 2);
}

TEST_F(HeadRendererTest, FollowsTheSizeAndTellsWhatItCannotDraw) {
    load(GlbFile(GlbQuads(1)));
    for (const auto& [newWidth, newHeight] : {std::pair(0, 50), std::pair(50, -1), std::pair(60, 80)}) {
        renderer->resize(newWidth, newHeight);
        take(straight);
        EXPECT_EQ(picture.width, newHeight == 80 ? 60 : width);
        EXPECT_GT(middle()[0], 150);
    }
    EXPECT_FALSE(renderer->capture("/nowhere/at/all.png", straight, false));
    HeadRenderer none;
    none.render(straight);
    EXPECT_FALSE(none.capture(path, straight, false));
    EXPECT_FALSE(none.initialize(*surface, width, height, joinPath(dataFolder(), "nothing.glb")));
}

}  // namespace
