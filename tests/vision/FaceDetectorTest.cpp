#include "vision/FaceDetector.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

#include "support/Discs.h"
#include "vision/FaceDecoding.h"
#include "vision/Letterbox.h"
#include "vision/Sampling.h"

namespace {

constexpr float none = std::numeric_limits<float>::quiet_NaN();
constexpr float endless = std::numeric_limits<float>::infinity();

TEST(Sampling, WeighsFourPixelsWithinThePicture) {
    const uint8_t pixels[] = {10, 0, 0, 0, 20, 0, 0, 0, 99, 99, 99, 99, 50, 0, 0, 0, 100, 7, 0, 0};
    const std::array<float, 3> cases[] = {{0.5F, 0, 15}, {0, 0.5F, 30}, {0.25F, 0.75F, 50},
                                          {-3, -9, 10},  {7, 0, 20},    {endless, endless, 100}};
    for (const auto& [x, y, value] : cases)
        EXPECT_NEAR(sampleBilinear(pixels, 2, 2, 12, x, y, 0), value, 0.2) << x << "," << y;
    EXPECT_NEAR(sampleBilinear(pixels, 2, 2, 12, 1, 1, 1), 7, 0.02);
    EXPECT_TRUE(std::isfinite(sampleBilinear(pixels, 2, 2, 12, none, none, 0)));
}

TEST(Letterbox, HoldsWhatSamplingGivesAndZeros) {
    constexpr int32_t gap = 12;  // bytes between two rows
    // The picture's size, the tensor's side, and the picture's part of it.
    const std::array<int32_t, 5> cases[] = {
        {640, 480, 320, 320, 240}, {100, 37, 320, 320, 118}, {1, 9, 64, 7, 64}, {20011, 2, 64, 64, 0}};
    for (const auto& [width, height, side, across, down] : cases) {
        const int32_t stride = width * 4 + gap;
        // It ends with its last pixel, so that a sanitizer sees each read beyond it.
        std::vector<uint8_t> noise(size_t(stride) * height - gap);
        for (size_t i = 0; i < noise.size(); ++i)
            noise[i] = static_cast<uint8_t>(i * i * 31 >> 4);
        std::vector<float> tensor(size_t{3} * side * side, -1.0F);
        const float r = letterbox({noise.data(), width, height, stride}, side, tensor);
        EXPECT_EQ(r, static_cast<float>(side) / static_cast<float>(std::max(width, height)));
        int wrong = 0;
        for (int32_t i = 0; i < 3 * side * side; ++i) {
            const int32_t x = i % side;
            const int32_t y = i / side % side;
            const auto place = [r](int32_t at) { return (static_cast<float>(at) + 0.5F) / r - 0.5F; };
            const float sample =
                sampleBilinear(noise.data(), width, height, stride, place(x), place(y), i / side / side);
            wrong += tensor[i] != (x < across && y < down ? sample : 0.0F);
        }
        EXPECT_EQ(wrong, 0) << width << "x" << height;
    }
}

TEST(FaceDecoding, TakesCertainFiniteCellsToThePicture) {
    struct Case {
        float cls, obj;
        bool isFace;
        float width = 0;
        float landmark = 0;
    };
    const Case cases[] = {{0.6F, 0.6F, true},     {0.59F, 0.6F, false}, {7, 0.36F, true},
                          {1, 0.35F, false},      {none, 1, false},     {1, 1, false, none},
                          {1, 1, false, 0, none}, {1, 1, true, 1, 0.5F}};
    for (const auto& [cls, obj, isFace, width, landmark] : cases) {
        // A grid of 2 x 2 cells, with the face in the last.
        const std::vector<float> scores = {0, 0, 0, cls};
        const std::vector<float> certain(4, obj);
        std::vector<float> bbox(16, 0.25F);
        std::vector<float> kps(40, 0.75F);
        bbox[14] = width;
        kps[33] = landmark;
        std::vector<Face> faces;
        decodeFaces({16, 2, scores, certain, bbox, kps}, 0.5F, faces);
        ASSERT_EQ(faces.size(), isFace ? 1U : 0U) << cls << ", " << obj;
        if (!isFace) continue;
        EXPECT_FLOAT_EQ(faces[0].score, std::sqrt(std::min(cls, 1.0F) * obj));
        EXPECT_FLOAT_EQ(faces[0].w, 32 * std::exp(width));
        EXPECT_FLOAT_EQ(faces[0].h, 32 * std::exp(0.25F));
        EXPECT_FLOAT_EQ(faces[0].x + faces[0].w / 2, 1.25F * 32);
        EXPECT_FLOAT_EQ(faces[0].y + faces[0].h / 2, 1.25F * 32);
        EXPECT_FLOAT_EQ(faces[0].landmarks[8], 1.75F * 32);
        EXPECT_FLOAT_EQ(faces[0].landmarks[3], (1 + landmark) * 32);
    }
}

TEST(FaceDecoding, KeepsTheBestOfThoseThatOverlap) {
    using Places = std::vector<std::pair<float, float>>;  // x and score
    const std::pair<Places, std::vector<float>> cases[] = {
        {{{0, 0.7F}, {35, 0.8F}}, {35, 0}},  // 300 of 1000, not more than 0.3
        {{{0, 0.7F}, {34, 0.8F}}, {34}},
        {{{0, 0.9F}, {30, 0.8F}, {60, 0.7F}}, {0, 60}}};
    for (const auto& [places, kept] : cases) {
        std::vector<Face> faces;
        for (const auto& [x, score] : places)
            faces.push_back({x, 5, 65, 10, score});
        std::vector<float> found;
        for (const Face& face : withoutOverlaps(faces))
            found.push_back(face.x);
        EXPECT_EQ(found, kept);
    }
}

TEST(FaceDetector, FindsDiscsAtEveryStride) {
    const std::vector<Disc> discs = {{200, 180, 130, 230}, {500, 300, 50, 30, 230}, {90, 400, 14, 230}};
    FaceDetector detector(tinyModel("discs-any"));
    EXPECT_EQ(detector.inputSize(), 320);
    const std::vector<Face> faces = detector.detect(DiscPicture(640, 480, discs).view());
    ASSERT_EQ(faces.size(), 3U);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(faces[i].x, discs[i].x - discs[i].radius, 2);
        EXPECT_NEAR(faces[i].y, discs[i].y - discs[i].radius, 2);
        EXPECT_NEAR(faces[i].w, 2 * discs[i].radius, 3);
    }
    // A picture that is less high doesn't show what the larger one left in the buffer.
    EXPECT_TRUE(detector.detect(DiscPicture(640, 100, {}).view()).empty());
}

}  // namespace
