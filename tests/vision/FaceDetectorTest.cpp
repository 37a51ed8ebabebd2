#include "vision/FaceDetector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>

#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "support/Discs.h"
#include "vision/FaceDecoding.h"
#include "vision/Letterbox.h"
#include "vision/Sampling.h"

namespace {

constexpr float none = std::numeric_limits<float>::quiet_NaN();
constexpr float endless = std::numeric_limits<float>::infinity();

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
    constexpr int32_t gap = 12;  // bytes between two rows
    const struct {
        int32_t width, height, side;
        int32_t across, down;  ///< the picture's part of the tensor
    } cases[] = {{640, 480, 320, 320, 240}, {100, 37, 320, 320, 118}, {1, 1, 32, 32, 32},
                 {1, 9, 64, 7, 64},         {20011, 2, 64, 64, 0},    {40, 20011, 1024, 2, 1024}};
    for (const auto& [width, height, side, across, down] : cases) {
        const int32_t stride = width * 4 + gap;
        std::minstd_rand random(1);
        // It ends with its last pixel, so that a sanitizer sees each read beyond it.
        std::vector<uint8_t> noise(size_t(stride) * height - gap);
        for (uint8_t& byte : noise)
            byte = static_cast<uint8_t>(random() >> 8);
        std::vector<float> tensor(size_t{3} * side * side, -1.0F);
        const float r = letterbox({noise.data(), width, height, stride}, side, tensor);
        EXPECT_EQ(r, static_cast<float>(side) / static_cast<float>(std::max(width, height)));
        int wrong = 0;
        for (int32_t i = 0; i < 3 * side * side; ++i) {
            const int32_t x = i % side;
            const int32_t y = i / side % side;
            const float fx = (static_cast<float>(x) + 0.5F) / r - 0.5F;
            const float fy = (static_cast<float>(y) + 0.5F) / r - 0.5F;
            const float sample = sampleBilinear(noise.data(), width, height, stride, fx, fy, i / side / side);
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
    using Places = std::vector<std::pair<float, float>>;  // x and score
    const std::pair<Places, std::vector<float>> cases[] = {
        {{}, {}},
        {{{0, 0.7F}, {35, 0.8F}}, {35, 0}},  // 300 of 1000, not more than 0.3
        {{{0, 0.7F}, {34, 0.8F}}, {34}},
        {{{0, 0.9F}, {30, 0.8F}, {60, 0.7F}}, {0, 60}},
        {{{0, 0.7F}, {30, 0.9F}, {60, 0.8F}}, {30}},
        {{{0, 0.8F}, {0, 0.8F}}, {0}}};
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
    const std::vector<Disc> discs = {
        {200, 180, 130, 230, 30, 30}, {500, 300, 50, 30, 230, 30}, {90, 400, 14, 30, 30, 240}};
    const DiscPicture picture(640, 480, discs);
    const struct {
        const char* model;
        int32_t side;
        std::vector<size_t> found;
    } cases[] = {
        {"discs-640", 640, {0, 1, 2}}, {"discs-any", 320, {0, 1, 2}}, {"discs-without-16", 320, {0, 2}}};
    for (const auto& [model, side, found] : cases) {
        FaceDetector detector(tinyModel(model));
        EXPECT_EQ(detector.inputSize(), side);
        const std::vector<Face> faces = detector.detect(picture.view());
        ASSERT_EQ(faces.size(), found.size()) << model;
        for (size_t i = 0; i < faces.size(); ++i) {
            const Disc& disc = discs[found[i]];
            EXPECT_NEAR(faces[i].x, disc.x - disc.radius, 2) << model;
            EXPECT_NEAR(faces[i].y, disc.y - disc.radius, 2) << model;
            EXPECT_NEAR(faces[i].w, 2 * disc.radius, 3) << model;
            EXPECT_NEAR(faces[i].h, 2 * disc.radius, 3) << model;
        }
        // A picture that is less high doesn't show what the larger one left in the buffer.
        EXPECT_TRUE(detector.detect(DiscPicture(640, 100, {}).view()).empty());
        EXPECT_TRUE(detector.detect({}).empty());
    }
}

TEST(FaceDetector, TellsWhatIsWrongWithTheNetwork) {
    const std::string folder = dataFolder();
    std::string bytes;
    ASSERT_TRUE(readWholeFile(tinyModel("discs-320"), bytes));
    writeWholeFile(folder + "/cut.onnx", bytes.substr(0, bytes.size() / 2));
    writeWholeFile(folder + "/empty.onnx", "");
    const DiscPicture picture(64, 64, {});
    const std::pair<std::string, const char*> cases[] = {
        {folder + "/cut.onnx", ""},
        {folder + "/empty.onnx", ""},
        {folder, ""},
        {folder + "/none.onnx", ""},
        {tinyModel("bytes-in"), "the network's \"input\" isn't a tensor of floats"},
        {tinyModel("bytes-out"), "the network's \"cls_8\" isn't a tensor of floats"},
        {tinyModel("far-too-large"), "the detector wants 1000000 pixels a side, more than 4096"},
        {tinyModel("discs-cut"), "the detector's \"bbox_16\" has 800 values instead of 1600"},
        {tinyModel("three-dimensions"), "rank"},
    };
    for (const auto& [model, part] : cases) {
        std::unique_ptr<FaceDetector> detector;
        for (int attempt = 0; attempt < 2; ++attempt) {  // a failure doesn't change what comes next
            std::string complaint;
            try {
                if (!detector) detector = std::make_unique<FaceDetector>(model);
                (void)detector->detect(picture.view());
            } catch (const std::exception& error) {
                complaint = error.what();
            }
            EXPECT_NE(complaint, "") << model;
            EXPECT_NE(complaint.find(part), std::string::npos) << model << ": " << complaint;
        }
    }
}

}  // namespace
