#include "vision/FaceEmbedder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

#include "support/Discs.h"
#include "vision/Embedding.h"
#include "vision/FaceDetector.h"

namespace {

constexpr double meanX = 56.02616;
constexpr double meanY = 71.90078;
constexpr double reference[5][2] = {
    {38.2946, 51.6963}, {73.5318, 51.5014}, {56.0252, 71.7366}, {41.5493, 92.3655}, {70.7299, 92.2041}};

/// Where a point of the aligned face lies in a picture in which the face is turned, scaled and moved.
struct Placement {
    double scale, turn, x, y;

    [[nodiscard]] std::pair<double, double> operator()(double u, double v) const {
        const double right = (u - meanX) * scale;
        const double down = (v - meanY) * scale;
        return {x + right * std::cos(turn) - down * std::sin(turn),
                y + right * std::sin(turn) + down * std::cos(turn)};
    }

    [[nodiscard]] Face face() const {
        Face face;
        for (size_t i = 0; i < 5; ++i) {
            const auto [right, down] = (*this)(reference[i][0], reference[i][1]);
            face.landmarks[2 * i] = static_cast<float>(right);
            face.landmarks[2 * i + 1] = static_cast<float>(down);
        }
        return face;
    }
};

/// Blue is x, green is y.
std::vector<uint8_t> slope(int32_t side) {
    std::vector<uint8_t> pixels;
    for (int32_t y = 0; y < side; ++y)
        for (int32_t x = 0; x < side; ++x)
            pixels.insert(pixels.end(), {static_cast<uint8_t>(x), static_cast<uint8_t>(y), 200, 255});
    return pixels;
}

TEST(Alignment, BringsTheLandmarksToTheReference) {
    constexpr double quarter = std::numbers::pi / 2;
    constexpr int32_t side = 240;
    const std::vector<uint8_t> pixels = slope(side);
    for (const Placement& place :
         {Placement{1, 0, meanX, meanY}, Placement{1, 0, 130, 120}, Placement{1.2, 0.3, 120, 110},
          Placement{0.5, quarter, 120, 120}, Placement{0.7, -2 * quarter, 120, 130}}) {
        Alignment alignment;
        ASSERT_TRUE(alignment.fit(place.face()));
        EXPECT_NEAR(alignment.a, std::cos(place.turn) / place.scale, 1e-4);
        EXPECT_NEAR(alignment.b, -std::sin(place.turn) / place.scale, 1e-4);
        std::vector<float> tensor;
        alignment.warp({pixels.data(), side, side, side * 4}, tensor);
        ASSERT_EQ(tensor.size(), 3U * 112 * 112);
        for (const int32_t at : {0, 111, 112 * 55 + 30, 112 * 111, 112 * 112 - 1}) {
            const auto [x, y] = place(at % 112, at / 112);
            EXPECT_NEAR(tensor[at], std::clamp(x, 0.0, side - 1.001), 0.02);
            EXPECT_NEAR(tensor[112 * 112 + at], std::clamp(y, 0.0, side - 1.001), 0.02);
            EXPECT_NEAR(tensor[2 * 112 * 112 + at], 200, 0.001);
        }
    }
}

TEST(Alignment, RefusesDegenerateLandmarks) {
    Alignment alignment;
    Face together;
    together.landmarks.fill(50);
    EXPECT_FALSE(alignment.fit(together));
    Face nowhere = Placement{1, 0, 50, 50}.face();
    nowhere.landmarks[3] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_FALSE(alignment.fit(nowhere));
    nowhere.landmarks[3] = std::numeric_limits<float>::infinity();
    EXPECT_FALSE(alignment.fit(nowhere));
    EXPECT_FALSE(alignment.fit(Placement{1e5, 0, 50, 50}.face())) << "spread too far";
    EXPECT_TRUE(alignment.fit(Placement{1e4, 0, 50, 50}.face()));
}

TEST(FaceEmbedder, TellsColoursApart) {
    FaceDetector detector(tinyModel("discs-320"));
    FaceEmbedder embedder(tinyModel("colours"));
    struct Person {
        int colour;
        Disc disc;
    };
    const Person people[] = {{0, {320, 240, 100, 230, 30, 30}},  {0, {100, 80, 40, 210, 45, 40}},
                             {1, {320, 240, 100, 30, 230, 30}},  {1, {500, 400, 60, 45, 205, 20}},
                             {2, {320, 240, 100, 30, 30, 230}},  {3, {320, 240, 100, 230, 230, 30}},
                             {4, {320, 240, 100, 230, 30, 230}}, {5, {320, 240, 100, 30, 230, 230}}};
    std::vector<std::vector<float>> embeddings;
    for (const Person& person : people) {
        const DiscPicture picture(640, 480, {person.disc});
        const Picture view{picture.pixels.data(), 640, 480, 640 * 4};
        const std::vector<Face> faces = detector.detect(view);
        ASSERT_EQ(faces.size(), 1U);
        ASSERT_TRUE(embedder.embed(view, faces[0], embeddings.emplace_back()));
        EXPECT_NEAR(similarity(embeddings.back(), embeddings.back()), 1, 1e-5);
    }
    for (size_t i = 0; i < embeddings.size(); ++i) {
        for (size_t j = 0; j < i; ++j) {
            const float cosine = similarity(embeddings[i], embeddings[j]);
            EXPECT_TRUE(people[i].colour == people[j].colour ? cosine > 0.9F : cosine < 0.3F)
                << i << "," << j << ": " << cosine;
        }
    }
    EXPECT_EQ(similarity({}, {}), -1);
    EXPECT_EQ(similarity(embeddings[0], std::vector<float>{1}), -1);
}

TEST(FaceEmbedder, SurvivesOddNetworksAndFaces) {
    const std::vector<uint8_t> pixels = slope(120);
    const Picture picture{pixels.data(), 120, 120, 480};
    const Face face = Placement{1, 0, 60, 60}.face();
    std::vector<float> out = {7};
    FaceEmbedder nan(tinyModel("nan"));
    FaceEmbedder detector(tinyModel("discs-320"));
    FaceEmbedder zero(tinyModel("zero"));
    EXPECT_THROW((void)nan.embed(picture, face, out), std::runtime_error);
    EXPECT_THROW((void)detector.embed(picture, face, out), std::runtime_error);
    EXPECT_FALSE(zero.embed(picture, {}, out));
    EXPECT_FALSE(zero.embed({}, face, out));
    EXPECT_EQ(out, std::vector<float>{7});
    // A face far beyond the picture's edge is one of the edge's colours.
    EXPECT_TRUE(zero.embed(picture, Placement{1, 0, -1e6, 1e6}.face(), out));
    EXPECT_EQ(out, std::vector<float>(8, 0.0F));
}

}  // namespace
