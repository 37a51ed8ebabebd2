// Pictures of small heads, compared with colours that were worked out by hand from the lighting's formula.

#include "presence/HeadRenderer.h"

#include <gtest/gtest.h>
#include <stb_image.h>

#include <cstdlib>
#include <memory>

#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "support/GlbFile.h"

namespace {

// Odd, so that one pixel's middle is the middle of the view.
constexpr int width = 101;
constexpr int height = 119;

struct Pixel {
    int red = 0, green = 0, blue = 0, alpha = 0;
};

void expectColor(const Pixel& pixel, const std::array<int, 3>& color, int tolerance,
                 const std::string& what) {
    EXPECT_NEAR(pixel.red, color[0], tolerance) << what;
    EXPECT_NEAR(pixel.green, color[1], tolerance) << what;
    EXPECT_NEAR(pixel.blue, color[2], tolerance) << what;
}

class Picture {
public:
    explicit Picture(const std::string& path)
        : pixels(stbi_load(path.c_str(), &width, &height, &channels, 0), stbi_image_free) {}

    [[nodiscard]] Pixel at(int x, int y) const {
        const uint8_t* pixel = pixels.get() + static_cast<ptrdiff_t>((y * width + x) * channels);
        return {pixel[0], pixel[1], pixel[2], channels == 4 ? pixel[3] : 255};
    }
    [[nodiscard]] Pixel middle() const { return at(width / 2, height / 2); }

    int width = 0;
    int height = 0;
    int channels = 0;

private:
    std::unique_ptr<uint8_t, void (*)(void*)> pixels;
};

/// A pose that looks straight ahead and carries no glow.
HeadPose straight() {
    HeadPose pose;
    pose.eyeGlow = 0;
    return pose;
}

const std::array<float, 4> brown{0.5F, 0.25F, 0.125F, 1};

class HeadRendererTest : public testing::Test {
protected:
    void SetUp() override {
        std::string problem;
        surface = HeadSurface::offscreen(problem);
        ASSERT_NE(surface, nullptr) << problem;
    }

    void load(const GlbFile& file) {
        renderer.reset();
        file.write(model);
        renderer = std::make_unique<HeadRenderer>();
        ASSERT_TRUE(renderer->initialize(*surface, width, height, model));
    }

    void load(const GlbQuad& quad) {
        GlbFile file;
        file.addQuad(quad);
        load(file);
    }

    Picture take(const HeadPose& pose, bool withAlpha = false) {
        EXPECT_TRUE(renderer->capture(picture, pose, withAlpha));
        return Picture(picture);
    }

    std::string model = joinPath(dataFolder(), "head.glb");
    std::string picture = joinPath(dataFolder(), "head.png");
    std::unique_ptr<HeadSurface> surface;
    std::unique_ptr<HeadRenderer> renderer;
};

TEST_F(HeadRendererTest, LightsAPointAsTheFormulaSays) {
    HeadPose dimmed = straight();
    dimmed.dim = 0.55F;
    HeadPose nodding = straight();
    nodding.pitch = -4;
    HeadPose turned = nodding;
    turned.yaw = 30;
    HeadPose glowing = straight();
    glowing.eyeGlow = 0.25F;
    glowing.earGlow = 0.1F;
    HeadPose asleep = dimmed;
    asleep.eyeTint = 0.05F;
    const std::array<float, 3> ahead{0, 0, 1};
    const struct {
        const char* what;
        const char* material;
        std::array<float, 3> normal;
        HeadPose pose;
        std::array<int, 3> color;
    } cases[] = {
        {"straight ahead", "shell", ahead, straight(), {180, 133, 103}},
        {"the normal to the right", "shell", {0.6F, 0, 0.8F}, straight(), {150, 113, 93}},
        {"the normal up left, not of length 1", "shell", {-1, 1, 0.2F}, straight(), {194, 157, 143}},
        {"dimmed", "shell", ahead, dimmed, {138, 101, 79}},
        {"nodding", "shell", ahead, nodding, {186, 138, 109}},
        {"turned", "shell", ahead, turned, {162, 121, 97}},
        {"no glow without its name", "shell", ahead, glowing, {180, 133, 103}},
        {"eye", "left EyeGlow", ahead, glowing, {180, 177, 163}},
        {"ear", "earglow", ahead, glowing, {196, 137, 120}},
        {"sleeping eye", "eyeglow", ahead, asleep, {39, 31, 27}},
    };
    for (const auto& row : cases) {
        GlbQuad quad;
        quad.material = row.material;
        quad.baseColor = brown;
        quad.normal = row.normal;
        load(quad);
        expectColor(take(row.pose).middle(), row.color, 1, row.what);
    }
}

TEST_F(HeadRendererTest, ATextureIsDecodedFromSrgbAndAMissingOneLeavesTheColour) {
    GlbFile file;
    GlbQuad quad;
    quad.baseColor = brown;
    quad.image = file.addImage(pngBytes(2, 2, {200, 100, 255, 255}));
    file.addQuad(quad);
    load(file);
    expectColor(take(straight()).middle(), {141, 56, 103}, 1, "texture");

    GlbFile broken;
    quad.image = broken.addImage("this is no picture");
    broken.addQuad(quad);
    load(broken);
    expectColor(take(straight()).middle(), {180, 133, 103}, 1, "broken texture");
}

TEST_F(HeadRendererTest, WhatIsNotHeadIsGreyOrClearAndEdgesAreSoft) {
    GlbQuad quad;
    quad.baseColor = brown;
    load(quad);
    HeadPose rolled = straight();
    rolled.roll = 10;
    const Picture grey = take(rolled);
    EXPECT_EQ(grey.channels, 3);
    expectColor(grey.at(0, 0), {90, 90, 90}, 0, "outside");

    const Picture clear = take(rolled, true);
    EXPECT_EQ(clear.channels, 4);
    EXPECT_EQ(clear.at(0, 0).alpha, 0);
    expectColor(clear.at(0, 0), {0, 0, 0}, 0, "clear");
    // A left edge: from the background over pixels that are partly covered to the inside.
    int soft = 0;
    int half = 0;
    for (int y = height / 2 - 20; y < height / 2 + 20; ++y) {
        for (int x = 1; x < width / 2; ++x) {
            const Pixel pixel = clear.at(x, y);
            if (pixel.alpha == 0 || pixel.alpha == 255) continue;
            const Pixel inside = clear.at(x + 2, y);
            ASSERT_EQ(inside.alpha, 255);
            const std::string what = "pixel " + std::to_string(x) + ", " + std::to_string(y);
            expectColor(pixel, {inside.red, inside.green, inside.blue}, 6, what);
            const int over = pixel.red * pixel.alpha / 255 + 90 * (255 - pixel.alpha) / 255;
            EXPECT_NEAR(grey.at(x, y).red, over, 2) << what;
            ++soft;
            half += std::abs(pixel.alpha - 128) <= 1;
        }
    }
    EXPECT_GT(soft, 20);
    EXPECT_GT(half, 3);
}

TEST_F(HeadRendererTest, TheJawTurnsAboutItsOwnHingeAndTheNearerPartHides) {
    GlbFile file;
    GlbQuad front;
    front.baseColor = {0, 0.5F, 0, 1};
    front.size = 0.2F;
    front.translation = {0, 0.3, 0.2};
    GlbQuad back;  // drawn later
    back.baseColor = {0.5F, 0, 0, 1};
    GlbQuad jaw;
    jaw.node = "Jaw";
    jaw.baseColor = {0, 0, 1, 1};
    jaw.size = 0.4F;
    jaw.translation = {0, -0.3, 0.1};  // in front of the back, its hinge across its middle
    file.addQuad(front);
    file.addQuad(back);
    file.addQuad(jaw);
    load(file);
    EXPECT_FLOAT_EQ(renderer->scale, 1.2F);  // by the quad of side 1: the jaw doesn't count

    const auto isBlue = [](const Pixel& pixel) { return pixel.blue > pixel.red && pixel.blue > pixel.green; };
    const auto isGreen = [](const Pixel& pixel) {
        return pixel.green > pixel.red && pixel.green > pixel.blue;
    };
    const auto rows = [&](const Picture& shown, const auto& is) {
        int count = 0;
        for (int y = 0; y < height; ++y)
            count += is(shown.at(width / 2, y));
        return count;
    };
    HeadPose pose = straight();
    const Picture closed = take(pose);
    const int closedRows = rows(closed, isBlue);
    EXPECT_GT(rows(closed, isGreen), 5);
    EXPECT_GT(closedRows, 20);
    pose.jaw = 80;  // seen almost from its edge; the half below the hinge has swung forward
    const int openRows = rows(take(pose), isBlue);
    EXPECT_GT(openRows, 0);
    EXPECT_LT(openRows, closedRows / 2);
}

TEST_F(HeadRendererTest, FollowsTheSizeAndIgnoresWhatIsNone) {
    load(GlbQuad{});
    const struct {
        int width, height, takenWidth, takenHeight;
    } cases[] = {{width, height, width, height},
                 {0, 50, width, height},
                 {50, -1, width, height},
                 {60, 80, 60, 80},
                 {204, 240, 204, 240}};
    for (const auto& size : cases) {
        renderer->resize(size.width, size.height);
        const Picture shown = take(straight());
        EXPECT_EQ(shown.width, size.takenWidth);
        EXPECT_EQ(shown.height, size.takenHeight);
        EXPECT_GT(shown.middle().red, 150);
    }
    EXPECT_FALSE(renderer->capture("/nowhere/at/all.png", straight(), false));
}

TEST_F(HeadRendererTest, WithoutAModelOrASizeThereIsNoHead) {
    HeadRenderer none;
    none.render(straight());
    none.resize(10, 10);
    EXPECT_FALSE(none.capture(picture, straight(), false));
    HeadRenderer lost;
    EXPECT_FALSE(lost.initialize(*surface, width, height, joinPath(dataFolder(), "nothing.glb")));
    GlbFile file;
    file.addQuad({});
    file.write(model);
    HeadRenderer flat;
    EXPECT_FALSE(flat.initialize(*surface, 0, height, model));
}

}  // namespace
