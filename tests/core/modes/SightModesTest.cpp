// The run mode of the camera, with a real camera of PipeWire's and the tiny networks.

#include <gtest/gtest.h>

#include <string>

#include "core/Companion.h"
#include "core/modes/CameraTestMode.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "support/CameraServer.h"
#include "support/Discs.h"
#include "support/TestData.h"

namespace {

TEST(CameraTestMode, ReadsItsOrder) {
    const struct {
        const char* arguments;
        int32_t seconds;
        bool enroll;
    } cases[] = {{"6 --enroll", 6, true}, {"12", 12, false}, {"", 0, false}, {"soon", 0, false}};
    for (const auto& [arguments, seconds, enroll] : cases) {
        const CameraTestOrder order = cameraTestOrder(arguments, std::string("--camtest ") + arguments);
        EXPECT_EQ(order.seconds, seconds) << arguments;
        EXPECT_EQ(order.enroll, enroll) << arguments;
    }
    EXPECT_TRUE(cameraTestOrder("6", "--enroll --camtest 6").enroll);
}

TEST(CameraTestMode, TellsWhoIsSeen) {
    CameraServer cameras;
    const std::string models = joinPath(dataFolder(), "face-models");
    const auto run = [&](const CameraTestOrder& order) {
        Companion companion(Settings::instance());
        companion.bringUp.faceModels = models;
        const int code = runCameraTestMode(companion, order);
        return std::to_string(code) + "\n" + dataText("ask-output.txt");
    };
    // A busy machine takes its time to open a camera.
    const auto runUntil = [&](const CameraTestOrder& order, const std::string& words) {
        std::string lines;
        for (int attempt = 0; attempt < 5 && lines.find(words) == std::string::npos; ++attempt)
            lines = run(order);
        return lines;
    };
    EXPECT_EQ(run({1, false}), "1\n[error] models\n");
    installTinyModels(models);
    EXPECT_EQ(runUntil({1, true}, "[problem]"),
              "0\n[problem] I couldn't find a camera.\nt=1 present=0 nx=0.000000 ny=0.000000 name=''\n");

    cameras.plugIn("Desk camera", {"RGBx:640x480@15"});
    const DiscPicture picture(640, 480,
                              {{.x = 160, .y = 240, .radius = 60, .red = 230, .green = 20, .blue = 20}});
    cameras.show("Desk camera", {picture.width, picture.height, picture.pixels});
    const std::string first = runUntil({6, true}, "[enroll] Got it");
    EXPECT_NE(first.find("[enroll] Got it, I'll remember Tester's face.\nt=3 present=1 nx=-0."),
              std::string::npos)
        << first;
    EXPECT_NE(first.find("t=6 present=1 nx=-0."), std::string::npos) << first;
    EXPECT_NE(first.find("name='Tester'\n", first.find("t=6")), std::string::npos) << first;
    EXPECT_TRUE(dataText("cam-debug.png").starts_with("\x89PNG"));
    const std::string second = runUntil({4, false}, "name='Tester'");
    EXPECT_NE(second.find("name='Tester'\n", second.find("t=4")), std::string::npos) << second;
    EXPECT_EQ(second.find("enroll"), std::string::npos);
}

}  // namespace
