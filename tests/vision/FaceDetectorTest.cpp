#include "vision/FaceDetector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "foundation/Files.h"
#include "support/Discs.h"
#include "support/TemporaryFolder.h"
#include "vision/FaceDecoding.h"
#include "vision/Sampling.h"

namespace {

constexpr float none = std::numeric_limits<float>::quiet_NaN();
constexpr float endless = std::numeric_limits<float>::infinity();

/// A picture of noise that ends with its last pixel, so that a sanitizer sees each step beyond it.
struct Noise {
    Noise(int32_t width, int32_t height, int32_t gap)
        : width(width), height(height), stride(width * 4 + gap), bytes(size_t(stride) * height - gap) {
        std::minstd_rand random(1);
        for (uint8_t& byte : bytes)
            byte = static_cast<uint8_t>(random() >> 8);
    }
    [[nodiscard]] Picture view() const { return {bytes.data(), width, height, stride}; }

    int32_t width, height, stride;
    std::vector<uint8_t> bytes;
};

TEST(Sampling, WeighsFourPixelsWithinThePicture) {
    const uint8_t pixels[] = {10, 0, 0, 0, 20, 0, 0, 0, 99, 99, 99, 99, 50, 0, 0, 0, 100, 7, 0, 0};
    struct Case {
        float x, y, value;
    };
    for (const auto& [x, y, value] :
         {Case{0, 0, 10}, Case{0.5F, 0, 15}, Case{0, 0.5F, 30}, Case{0.5F, 0.5F, 45}, Case{0.25F, 0.75F, 50},
          Case{-3, -9, 10}, Case{7, 0, 20}, Case{endless, endless, 100}, Case{-endless, 0, 10}}) {
        EXPECT_NEAR(sampleBilinear(pixels, 2, 2, 12, x, y, 0), value, 0.2) << x << "," << y;
    }
    EXPECT_NEAR(sampleBilinear(pixels, 2, 2, 12, 1, 1, 1), 7, 0.02);
    EXPECT_TRUE(std::isfinite(sampleBilinear(pixels, 2, 2, 12, none, none, 0)));
}

TEST(Letterbox, HoldsWhatSamplingGivesAndZeros) {
    struct Case {
        int32_t width, height, side;
        int32_t across, down;  ///< the picture's part of the tensor
    };
    for (const auto& [width, height, side, across, down] :
         {Case{640, 480, 320, 320, 240}, Case{1000, 1000, 320, 320, 320}, Case{100, 37, 320, 320, 118},
          Case{1, 1, 32, 32, 32}, Case{1, 9, 64, 7, 64}, Case{20011, 2, 64, 64, 0},
          Case{40, 20011, 1024, 2, 1024}}) {
        const Noise noise(width, height, 12);
        std::vector<float> tensor(size_t{3} * side * side, -1.0F);
        const float r = letterbox(noise.view(), side, tensor);
        EXPECT_EQ(r, static_cast<float>(side) / static_cast<float>(std::max(width, height)));
        int wrong = 0;
        for (int32_t i = 0; i < 3 * side * side; ++i) {
            const int32_t x = i % side;
            const int32_t y = i / side % side;
            const float fx = (static_cast<float>(x) + 0.5F) / r - 0.5F;
            const float fy = (static_cast<float>(y) + 0.5F) / r - 0.5F;
            const bool isIn = x < across && y < down;
            const auto expected = isIn ? sampleBilinear(noise.bytes.data(), width, height, noise.stride, fx,
                                                        fy, i / side / side)
                                       : 0.0F;
            wrong += tensor[i] != expected;
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
    const Case cases[] = {{0.6F, 0.6F, true},    {0.59F, 0.6F, false}, {7, 0.36F, true},
                          {1, 0.35F, false},     {-1, -1, false},      {none, 1, false},
                          {1, 1, false, none},   {1, 1, false, 1000},  {1, 1, false, 0, endless},
                          {1, 1, true, 1, 0.5F}, {endless, 1, true},   {1, -endless, false}};
    constexpr int32_t cells = 4;
    std::vector<float> cls(16, 0.0F);
    std::vector<float> obj(16, 1.0F);
    std::vector<float> bbox(64, 0.25F);
    std::vector<float> kps(160, 0.75F);
    std::vector<size_t> expected;
    for (size_t k = 0; k < std::size(cases); ++k) {
        cls[k] = cases[k].cls;
        obj[k] = cases[k].obj;
        bbox[4 * k + 2] = cases[k].width;
        kps[10 * k + 3] = cases[k].landmark;
        if (cases[k].isFace) expected.push_back(k);
    }
    std::vector<Face> faces;
    decodeFaces({16, cells, cls, obj, bbox, kps}, 0.5F, faces);
    ASSERT_EQ(faces.size(), expected.size());
    for (size_t i = 0; i < faces.size(); ++i) {
        const Face& face = faces[i];
        const Case& cell = cases[expected[i]];
        const auto column = static_cast<float>(expected[i] % cells);
        const auto row = static_cast<float>(expected[i] / cells);
        EXPECT_FLOAT_EQ(face.score, std::sqrt(std::min(cell.cls, 1.0F) * cell.obj));
        EXPECT_FLOAT_EQ(face.w, 32 * std::exp(cell.width));
        EXPECT_FLOAT_EQ(face.h, 32 * std::exp(0.25F));
        EXPECT_FLOAT_EQ(face.x + face.w / 2, (column + 0.25F) * 32);
        EXPECT_FLOAT_EQ(face.y + face.h / 2, (row + 0.25F) * 32);
        EXPECT_FLOAT_EQ(face.landmarks[8], (column + 0.75F) * 32);
        EXPECT_FLOAT_EQ(face.landmarks[3], (row + cell.landmark) * 32);
    }
}

TEST(FaceDecoding, KeepsTheBestOfThoseThatOverlap) {
    const auto at = [](float x, float score) {
        return Face{.x = x, .y = 5, .w = 65, .h = 10, .score = score};
    };
    struct Case {
        std::vector<Face> faces;
        std::vector<float> kept;  ///< their x
    };
    for (const auto& [faces, kept] :
         {Case{{}, {}}, Case{{at(0, 0.7F), at(35, 0.8F)}, {35, 0}},  // 300 of 1000, not more than 0.3
          Case{{at(0, 0.7F), at(34, 0.8F)}, {34}}, Case{{at(0, 0.9F), at(30, 0.8F), at(60, 0.7F)}, {0, 60}},
          Case{{at(0, 0.7F), at(30, 0.9F), at(60, 0.8F)}, {30}}, Case{{at(0, 0.8F), at(0, 0.8F)}, {0}}}) {
        const std::vector<Face> found = withoutOverlaps(faces);
        ASSERT_EQ(found.size(), kept.size());
        for (size_t i = 0; i < found.size(); ++i)
            EXPECT_EQ(found[i].x, kept[i]);
    }
}

Picture viewOf(const DiscPicture& picture) {
    return {picture.pixels.data(), picture.width, picture.height, picture.width * 4};
}

TEST(FaceDetector, FindsDiscsAtEveryStride) {
    const std::vector<Disc> discs = {
        {200, 180, 130, 230, 30, 30}, {500, 300, 50, 30, 230, 30}, {90, 400, 14, 30, 30, 240}};
    const DiscPicture picture(640, 480, discs);
    struct Case {
        const char* model;
        int32_t side;
        std::vector<size_t> found;
    };
    for (const auto& [model, side, found] :
         {Case{"discs-320", 320, {0, 1, 2}}, Case{"discs-640", 640, {0, 1, 2}},
          Case{"discs-any", 320, {0, 1, 2}}, Case{"discs-without-16", 320, {0, 2}}}) {
        FaceDetector detector(tinyModel(model));
        EXPECT_EQ(detector.inputSize(), side);
        const std::vector<Face> faces = detector.detect(viewOf(picture));
        ASSERT_EQ(faces.size(), found.size()) << model;
        for (size_t i = 0; i < faces.size(); ++i) {
            const Disc& disc = discs[found[i]];
            EXPECT_NEAR(faces[i].x, disc.x - disc.radius, 2) << model;
            EXPECT_NEAR(faces[i].y, disc.y - disc.radius, 2) << model;
            EXPECT_NEAR(faces[i].w, 2 * disc.radius, 3) << model;
            EXPECT_NEAR(faces[i].h, 2 * disc.radius, 3) << model;
        }
        EXPECT_TRUE(std::is_sorted(faces.begin(), faces.end(),
                                   [](const Face& a, const Face& b) { return a.score > b.score; }));
        // What a large picture leaves in the buffer isn't seen beside the next.
        EXPECT_TRUE(detector.detect(viewOf(DiscPicture(640, 100, {}))).empty());
        EXPECT_TRUE(detector.detect({}).empty());
    }
}

/// What the call complains of.
template <typename Call>
std::string complaintOf(Call call) {
    try {
        call();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "(nothing)";
}

TEST(FaceDetector, TellsWhatIsWrongWithTheNetwork) {
    const TemporaryFolder folder;
    const std::string cut = folder.path + "/cut.onnx";
    const std::string empty = folder.path + "/empty.onnx";
    std::string bytes;
    ASSERT_TRUE(readWholeFile(tinyModel("discs-320"), bytes));
    writeWholeFile(cut, bytes.substr(0, bytes.size() / 2));
    writeWholeFile(empty, "");
    for (const std::string& model : {cut, empty, folder.path, folder.path + "/none.onnx"}) {
        const std::string complaint = complaintOf([&] { FaceDetector detector(model); });
        EXPECT_NE(complaint, "(nothing)") << model;
        EXPECT_NE(complaint, "") << model;
    }
    EXPECT_EQ(complaintOf([] { FaceDetector detector(tinyModel("bytes-in")); }),
              "the network's \"input\" isn't a tensor of floats");
    EXPECT_EQ(complaintOf([] { FaceDetector detector(tinyModel("bytes-out")); }),
              "the network's \"cls_8\" isn't a tensor of floats");
    EXPECT_EQ(complaintOf([] { FaceDetector detector(tinyModel("far-too-large")); }),
              "the detector wants 1000000 pixels a side, more than 4096");

    const DiscPicture picture(64, 64, {});
    FaceDetector odd(tinyModel("discs-cut"));
    FaceDetector flat(tinyModel("three-dimensions"));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(complaintOf([&] { (void)odd.detect(viewOf(picture)); }),
                  "the detector's \"bbox_16\" has 800 values instead of 1600");
        EXPECT_NE(complaintOf([&] { (void)flat.detect(viewOf(picture)); }).find("rank"), std::string::npos);
    }
}

}  // namespace
