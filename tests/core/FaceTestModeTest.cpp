// The run mode --facetest, with the tiny networks.

#include "core/FaceTestMode.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "support/Discs.h"
#include "support/TemporaryFolder.h"
#include "vision/Embedding.h"
#include "vision/Eyes.h"

namespace {

TEST(FaceTestMode, ReadsItsPaths) {
    using Paths = std::vector<std::string>;
    struct Case {
        const char* arguments;
        Paths paths;
    };
    for (const auto& [arguments, paths] :
         {Case{"\"a b.png\" \"c.png\"", {"a b.png", "c.png"}}, Case{"a.png  b.png", {"a.png", "b.png"}},
          Case{"a.png \"b c.png\" d.png", {"a.png", "b c.png", "d.png"}}, Case{"", {}},
          Case{"x\"a b\"y,\"c d\"z w", {"a b", "c d", "w"}}, Case{"\"a b\" \"c d", {"a b"}},
          Case{"\"\"", {""}}, Case{"a.png\"", {"a.png"}}, Case{"\"a b\" \"c\"\"", {"a b", "c"}}}) {
        EXPECT_EQ(facePaths(arguments), paths) << arguments;
    }
}

class FaceTestModeRun : public testing::Test {
protected:
    std::string draw(const std::string& name, int32_t width, int32_t height, const std::vector<Disc>& discs) {
        DiscPicture(width, height, discs).writePng(folder.path + "/" + name);
        return folder.path + "/" + name;
    }

    static std::string contentOf(const std::string& name) {
        std::string text;
        return readWholeFile(joinPath(dataFolder(), name), text) ? text : "(no file)";
    }

    std::string linesFor(const std::vector<std::string>& paths, int expectedCode = 0) {
        Eyes eyes;
        EXPECT_EQ(runFaceTestMode(eyes, folder.path, paths), expectedCode);
        return contentOf("ask-output.txt");
    }

    TemporaryFolder folder;
};

TEST_F(FaceTestModeRun, ReportsFacesAndHowAlikeTheyAre) {
    installTinyModels(folder.path);
    const DiscPicture two(640, 480, {{320, 240, 60, 230, 30, 30}, {90, 90, 30, 30, 230, 30}});
    const std::string a = draw("a b.png", 640, 480, {{320, 240, 60, 230, 30, 30}, {90, 90, 30, 30, 230, 30}});
    const std::string empty = draw("empty.png", 100, 50, {});
    const std::string b = draw("b.png", 320, 320, {{100, 100, 50, 30, 30, 230}});

    FaceDetector detector(tinyModel("discs-320"));
    FaceEmbedder embedder(tinyModel("colours"));
    const auto lineOf = [](const Face& face) {
        char line[200];
        std::snprintf(line, sizeof line, "  box %d,%d %dx%d score %f\n", static_cast<int>(face.x),
                      static_cast<int>(face.y), static_cast<int>(face.w), static_cast<int>(face.h),
                      face.score);
        return std::string(line);
    };
    const Picture view{two.pixels.data(), 640, 480, 640 * 4};
    const std::vector<Face> faces = detector.detect(view);
    ASSERT_EQ(faces.size(), 2U);
    const DiscPicture one(320, 320, {{100, 100, 50, 30, 30, 230}});
    const Picture otherView{one.pixels.data(), 320, 320, 320 * 4};
    const std::vector<Face> others = detector.detect(otherView);
    ASSERT_EQ(others.size(), 1U);
    std::vector<float> first;
    std::vector<float> second;
    ASSERT_TRUE(embedder.embed(view, faces[0], first) && embedder.embed(otherView, others[0], second));
    char cosine[50];
    std::snprintf(cosine, sizeof cosine, "cosine(1,2) = %f\n", similarity(first, second));

    EXPECT_EQ(linesFor({a, "nowhere.png", empty, a, b}),
              a + ": 640x480, 2 face(s)\n" + lineOf(faces[0]) + lineOf(faces[1]) +
                  "[error] cannot decode nowhere.png\n" + empty + ": 100x50, 0 face(s)\n" + a +
                  ": 640x480, 2 face(s)\n" + lineOf(faces[0]) + lineOf(faces[1]) + b +
                  ": 320x320, 1 face(s)\n" + lineOf(others[0]) + "cosine(0,1) = 1.000000\n" + cosine);
    EXPECT_EQ(linesFor({b}), b + ": 320x320, 1 face(s)\n" + lineOf(others[0]));
}

TEST_F(FaceTestModeRun, GoesOnAfterAFailureAndTellsOfIt) {
    const std::string path = draw("a.png", 320, 240, {{100, 100, 50, 30, 30, 230}});
    EXPECT_EQ(linesFor({path}, 1), "[error] models\n");
    EXPECT_NE(contentOf("velu.log").find("vision model load failed: "), std::string::npos);
    installTinyModels(folder.path, "discs-cut");
    EXPECT_EQ(linesFor({path, path}), path + ": 320x240, 0 face(s)\n" + path + ": 320x240, 0 face(s)\n");
    EXPECT_NE(contentOf("velu.log").find("detect failed: the detector's \"bbox_16\" has"), std::string::npos);
    installTinyModels(folder.path, "discs-320", "nan");
    EXPECT_EQ(linesFor({path, path}).find("cosine"), std::string::npos);
    EXPECT_NE(contentOf("velu.log").find("embed failed: "), std::string::npos);
}

}  // namespace
