#include "vision/FaceEmbedder.h"

#include <gtest/gtest.h>

#include <complex>
#include <limits>

#include "support/Discs.h"
#include "vision/Alignment.h"
#include "vision/Embedding.h"

namespace {

using Point = std::complex<double>;

constexpr int32_t side = 240;
const Point mean(56.02616, 71.90078);
const Point reference[] = {
    {38.2946, 51.6963}, {73.5318, 51.5014}, {56.0252, 71.7366}, {41.5493, 92.3655}, {70.7299, 92.2041}};

/// Returns an aligned face that is turned and scaled by `turn`, with its middle moved to `middle`.
Face placed(Point turn, Point middle) {
    Face face;
    for (size_t i = 0; i < 5; ++i) {
        const Point place = middle + turn * (reference[i] - mean);
        face.landmarks[2 * i] = static_cast<float>(place.real());
        face.landmarks[2 * i + 1] = static_cast<float>(place.imag());
    }
    return face;
}

/// Returns a square picture whose blue is x and whose green is y.
std::vector<uint8_t> slope() {
    std::vector<uint8_t> pixels;
    for (int32_t i = 0; i < side * side; ++i)
        pixels.insert(pixels.end(), {uint8_t(i % side), uint8_t(i / side), 200, 255});
    return pixels;
}

TEST(Alignment, BringsLandmarksToTheReferenceUnlessDegenerate) {
    const std::vector<uint8_t> pixels = slope();
    for (const auto& [turn, middle] :
         {std::pair(std::polar(1.2, 0.3), Point(120, 110)), std::pair(Point(0, 0.5), Point(120, 120))}) {
        Alignment alignment;
        ASSERT_TRUE(alignment.fit(placed(turn, middle)));
        EXPECT_NEAR(alignment.a, (1.0 / turn).real(), 1e-4);
        EXPECT_NEAR(alignment.b, (1.0 / turn).imag(), 1e-4);
        std::vector<float> tensor;
        alignment.warp({pixels.data(), side, side, side * 4}, tensor);
        ASSERT_EQ(tensor.size(), 3U * 112 * 112);
        for (const int32_t at : {0, 111, 112 * 55 + 30, 112 * 111, 112 * 112 - 1}) {
            const Point place = middle + turn * (Point(at % 112, at / 112) - mean);
            EXPECT_NEAR(tensor[at], std::clamp(place.real(), 0.0, side - 1.001), 0.02);
            EXPECT_NEAR(tensor[112 * 112 + at], std::clamp(place.imag(), 0.0, side - 1.001), 0.02);
            EXPECT_NEAR(tensor[2 * 112 * 112 + at], 200, 0.001);
        }
    }
    Alignment alignment;
    EXPECT_FALSE(alignment.fit(placed(0, 50)));
    EXPECT_FALSE(alignment.fit(placed(1, {50, std::numeric_limits<double>::quiet_NaN()})));
    EXPECT_FALSE(alignment.fit(placed(1e5, 50))) << "spread too far";
    EXPECT_TRUE(alignment.fit(placed(1e4, 50)));
}

TEST(FaceEmbedder, RefusesWhatHasNoDirection) {
    const std::vector<uint8_t> pixels = slope();
    const Picture picture{pixels.data(), side, side, side * 4};
    std::vector<float> out = {7};
    FaceEmbedder broken(tinyModel("nan"));
    EXPECT_THROW((void)broken.embed(picture, placed(1, 60), out), std::runtime_error);
    FaceEmbedder zero(tinyModel("zero"));
    EXPECT_FALSE(zero.embed(picture, {}, out));
    EXPECT_EQ(out, std::vector<float>{7});
    // A face far beyond the picture's edge has the colours of the edge.
    EXPECT_TRUE(zero.embed(picture, placed(1, {-1e6, 1e6}), out));
    EXPECT_EQ(out, std::vector<float>(8, 0.0F));
    EXPECT_EQ(similarity(out, std::vector<float>{1}), -1);
}

}  // namespace
