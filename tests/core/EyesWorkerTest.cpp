// The start and stop of the eyes, on their threads.

#include "foundation/Ticks.h"
#include "support/CameraServer.h"
#include "support/Discs.h"
#include "support/HeadlessCompanion.h"

using EyesWorker = HeadlessCompanion;

TEST_F(EyesWorker, SwitchedOnAndOffTheLastWordCounts) {
    CameraServer cameras;
    cameras.plugIn("Desk camera", {"YUY2:640x480@15"});
    const DiscPicture picture(640, 480, {{320, 240, 60, 230, 20, 20}});
    cameras.show("Desk camera", {picture.width, picture.height, picture.pixels});
    BringUp& bringUp = velu.bringUp;
    bringUp.startEyesWorker();
    EXPECT_EQ(bringUp.eyesNumber, 0U) << "the camera is off";
    settings.camOn = true;
    bringUp.faceModels = dataFolder();
    bringUp.startEyesWorker();
    ASSERT_TRUE(until([this] { return velu.bubble.text == "I couldn't load my face models."; }));

    bringUp.faceModels = joinPath(dataFolder(), "face-models");
    installTinyModels(bringUp.faceModels);
    for (uint64_t round = 0; round < 12; ++round) {
        bringUp.startEyesWorker();
        (void)pauseUnlessCancelled(round * 10, nullptr);
        bringUp.stopEyes();
        EXPECT_FALSE(velu.eyes.running);
    }
    bringUp.eyesWorker.join();
    EXPECT_FALSE(velu.eyes.running) << "a cancelled worker has started them";
    removeFolder(bringUp.faceModels);  // they aren't read again
    bringUp.startEyesWorker();
    EXPECT_TRUE(until([this] { return velu.eyes.sighting().present; }));
    EXPECT_EQ(all<EarsProblem>().size(), 1U);
    shutDownCompanion(velu);
}
