// The start and stop of the eyes, on their threads.

#include <gtest/gtest.h>

#include "foundation/Ticks.h"
#include "support/CameraServer.h"
#include "support/Discs.h"
#include "support/HeadlessCompanion.h"

namespace {

class EyesWorker : public HeadlessCompanion {
protected:
    ~EyesWorker() override { shutDownCompanion(velu); }  // while there is a camera

    CameraServer cameras;
    BringUp& bringUp = velu.bringUp;
    Eyes& eyes = velu.eyes;
};

TEST_F(EyesWorker, SwitchedOnAndOffTheLastWordCounts) {
    cameras.plugIn("Desk camera", {"YUY2:640x480@15"});
    const DiscPicture picture(640, 480,
                              {{.x = 320, .y = 240, .radius = 60, .red = 230, .green = 20, .blue = 20}});
    cameras.show("Desk camera", {picture.width, picture.height, picture.pixels});
    const std::string models = joinPath(dataFolder(), "face-models");
    installTinyModels(models);

    bringUp.startEyesWorker();
    EXPECT_EQ(bringUp.eyesNumber, 0U) << "the camera is off";
    settings.camOn = true;
    bringUp.faceModels = dataFolder();
    bringUp.startEyesWorker();
    ASSERT_TRUE(until([this] { return !all<EarsProblem>().empty(); }));
    EXPECT_EQ(velu.bubble.text, "I couldn't load my face models.");
    EXPECT_FALSE(eyes.running);

    bringUp.faceModels = models;
    for (uint64_t round = 0; round < 12; ++round) {
        bringUp.startEyesWorker();
        (void)pauseUnlessCancelled(round * 10, nullptr);
        if (round % 3 == 0) {
            bringUp.stopEyes();
            bringUp.startEyesWorker();
        }
        bringUp.stopEyes();
        EXPECT_FALSE(eyes.running);
    }
    bringUp.eyesWorker.join();
    EXPECT_FALSE(eyes.running) << "a cancelled worker has started them";
    EXPECT_TRUE(until([this] { return all<EarsProblem>().size() == 1; }));
    bringUp.startEyesWorker();
    EXPECT_TRUE(soon([this] { return eyes.sighting().present; }));
    // The models aren't read again.
    removeFolder(models);
    bringUp.stopEyes();
    EXPECT_FALSE(eyes.sighting().present);
    bringUp.startEyesWorker();
    EXPECT_TRUE(soon([this] { return eyes.sighting().present; }));
}

}  // namespace
