// The run mode of the camera, with a PipeWire camera and the tiny networks.

#include "core/modes/CameraTestMode.h"
#include "support/CameraServer.h"
#include "support/Discs.h"
#include "support/HeadlessCompanion.h"
#include "support/TestData.h"

using CameraTestMode = HeadlessCompanion;

TEST_F(CameraTestMode, TellsWhoIsSeen) {
    EXPECT_EQ(cameraTestOrder("12", "--camtest 12").seconds, 12);
    EXPECT_FALSE(cameraTestOrder("soon", "--camtest soon").enroll);
    CameraServer cameras;
    velu.bringUp.faceModels = joinPath(dataFolder(), "face-models");
    const auto run = [&](const std::string& words) {
        const int code = runCameraTestMode(velu, cameraTestOrder(words, words));
        return std::to_string(code) + "\n" + dataText("ask-output.txt");
    };
    EXPECT_EQ(run("1"), "1\n[error] models\n");
    installTinyModels(velu.bringUp.faceModels);
    cameras.plugIn("Desk camera", {"RGBx:640x480@15"});
    const DiscPicture picture(640, 480, {{160, 240, 60, 230, 20, 20}});
    cameras.show("Desk camera", {picture.width, picture.height, picture.pixels});
    // A busy machine takes its time to open a camera.
    std::string lines;
    for (int attempt = 0; attempt < 5 && lines.find("name='Tester'") == std::string::npos; ++attempt)
        lines = run("5 --enroll");
    const size_t enrolled = lines.find("[enroll] Got it, I'll remember Tester's face.\nt=3 present=1 nx=-0.");
    ASSERT_NE(enrolled, std::string::npos) << lines;
    EXPECT_NE(lines.find("name='Tester'\n", lines.find("\nt=5 present=1 nx=-0.", enrolled)),
              std::string::npos)
        << lines;
    EXPECT_TRUE(dataText("cam-debug.png").starts_with("\x89PNG"));
}
