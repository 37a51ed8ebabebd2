// The run mode --facetest, with the tiny networks.

#include "core/modes/FaceTestMode.h"

#include <gtest/gtest.h>

#include <regex>

#include "support/Discs.h"
#include "support/TemporaryFolder.h"
#include "support/TestData.h"
#include "vision/Eyes.h"

TEST(FaceTestMode, ReadsItsPathsAndReportsFacesAndHowAlikeTheyAre) {
    const std::pair<const char*, std::vector<std::string>> cases[] = {
        {"a.png \"b c.png\" d.png", {"a.png", "b c.png", "d.png"}},
        {"a.png  b.png", {"a.png", "b.png"}},
        {"x\"a b\"y,\"c d\"z w", {"a b", "c d", "w"}},
        {"\"a b\" \"c d", {"a b"}},
        {"a.png\"", {"a.png"}},
        {"", {}}};
    for (const auto& [arguments, paths] : cases)
        EXPECT_EQ(facePaths(arguments), paths) << arguments;

    const TemporaryFolder folder;
    const auto draw = [&](const std::string& name, int32_t width, int32_t height,
                          const std::vector<Disc>& discs) {
        DiscPicture(width, height, discs).writePng(folder.path + "/" + name);
        return folder.path + "/" + name;
    };
    Eyes eyes;
    EXPECT_EQ(runFaceTestMode(eyes, folder.path, {}), 1);
    EXPECT_EQ(dataText("ask-output.txt"), "[error] models\n");
    installTinyModels(folder.path);
    const std::string a = draw("a b.png", 640, 480, {{320, 240, 60, 230, 30, 30}, {90, 90, 30, 30, 230, 30}});
    const std::string empty = draw("empty.png", 100, 50, {});
    const std::string b = draw("b.png", 320, 320, {{100, 100, 50, 30, 30, 230}});
    // Boxes may be off by a pixel. The small face comes first: a cell of the network is nearer to its middle.
    const std::string score = R"( score (0\.99\d{4}|1\.000000)\n)";
    const std::string two = a +
                            ": 640x480, 2 face\\(s\\)\n  box (59|60|61),(59|60|61) (59|60|61)x(59|60|61)" +
                            score + "  box (259|260|261),(179|180|181) (119|120|121)x(119|120|121)" + score;
    const std::regex expected(two + "\\[error\\] cannot decode nowhere.png\n" + empty +
                              ": 100x50, 0 face\\(s\\)\n" + two + b +
                              ": 320x320, 1 face\\(s\\)\n  box (49|50|51),(49|50|51) (99|100|101)x"
                              "(99|100|101)" +
                              score + R"(cosine\(0,1\) = 1\.000000\ncosine\(1,2\) = (-?0\.\d{6})\n)");
    EXPECT_EQ(runFaceTestMode(eyes, folder.path, {a, "nowhere.png", empty, a, b}), 0);
    const std::string lines = dataText("ask-output.txt");
    std::smatch parts;
    ASSERT_TRUE(std::regex_match(lines, parts, expected)) << lines;
    EXPECT_NEAR(std::stod(parts[parts.size() - 1]), -0.176856, 1e-5);

    // Networks that fail are logged, and the next picture is looked at.
    for (const auto& [detector, embedder] : {std::pair{"discs-cut", "colours"}, {"discs-320", "nan"}}) {
        installTinyModels(folder.path, detector, embedder);
        Eyes poor;
        EXPECT_EQ(runFaceTestMode(poor, folder.path, {b, b}), 0);
        EXPECT_EQ(dataText("ask-output.txt").find("cosine"), std::string::npos);
    }
    EXPECT_NE(dataText("velu.log").find("detect failed: the detector's \"bbox_16\" has"), std::string::npos);
    EXPECT_NE(dataText("velu.log").find("embed failed: "), std::string::npos);
}
