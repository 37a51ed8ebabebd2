// The run mode --facetest, with the tiny networks.

#include "core/modes/FaceTestMode.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <numeric>
#include <sstream>

#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "support/Discs.h"
#include "support/TemporaryFolder.h"
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

/// The embedding that the colour network gives a face all of this colour.
std::array<double, 7> colourEmbedding(const Disc& disc) {
    const auto sign = [](uint8_t part) { return std::tanh((part - 127.5) / 60); };
    const double b = sign(disc.blue), g = sign(disc.green), r = sign(disc.red);
    return {b, g, r, b * g, g * r, r * b, b * g * r};
}

double likeness(const Disc& one, const Disc& other) {
    const auto a = colourEmbedding(one), b = colourEmbedding(other);
    const auto product = [](const auto& x, const auto& y) {
        return std::inner_product(x.begin(), x.end(), y.begin(), 0.0);
    };
    return product(a, b) / std::sqrt(product(a, a) * product(b, b));
}

TEST_F(FaceTestModeRun, ReportsFacesAndHowAlikeTheyAre) {
    installTinyModels(folder.path);
    const Disc large{320, 240, 60, 230, 30, 30}, small{90, 90, 30, 30, 230, 30},
        other{100, 100, 50, 30, 30, 230};
    const std::string a = draw("a b.png", 640, 480, {large, small});
    const std::string empty = draw("empty.png", 100, 50, {});
    const std::string b = draw("b.png", 320, 320, {other});

    // Places and numbers are told by the drawing; the rest must be right to the letter.
    std::istringstream lines(linesFor({a, "nowhere.png", empty, a, b}));
    const auto expectLine = [&](const std::string& expected) {
        std::string line;
        EXPECT_TRUE(std::getline(lines, line) && line == expected) << line << " instead of " << expected;
    };
    const auto expectBox = [&](const Disc& disc) {
        std::string line;
        std::getline(lines, line);
        int x = 0, y = 0, w = 0, h = 0, end = 0;
        double score = 0;
        std::sscanf(line.c_str(), "  box %d,%d %dx%d score %lf%n", &x, &y, &w, &h, &score, &end);
        EXPECT_EQ(line.size(), static_cast<size_t>(end)) << line;
        EXPECT_NEAR(x, disc.x - disc.radius, 1) << line;
        EXPECT_NEAR(y, disc.y - disc.radius, 1) << line;
        EXPECT_NEAR(w, 2 * disc.radius, 1) << line;
        EXPECT_NEAR(h, 2 * disc.radius, 1) << line;
        EXPECT_TRUE(score > 0.99 && score <= 1) << line;
        EXPECT_EQ(line.find('.') + 7, line.size()) << line;
    };
    const auto expectTwo = [&] {
        expectLine(a + ": 640x480, 2 face(s)");
        expectBox(small);  // a cell of the network is nearer to its middle
        expectBox(large);
    };
    expectTwo();
    expectLine("[error] cannot decode nowhere.png");
    expectLine(empty + ": 100x50, 0 face(s)");
    expectTwo();
    expectLine(b + ": 320x320, 1 face(s)");
    expectBox(other);
    expectLine("cosine(0,1) = 1.000000");
    std::array<char, 50> cosine{};
    std::snprintf(cosine.data(), cosine.size(), "cosine(1,2) = %f", likeness(small, other));
    expectLine(cosine.data());
    std::string more;
    EXPECT_FALSE(std::getline(lines, more)) << more;
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
