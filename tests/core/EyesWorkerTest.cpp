// The eyes' way up and down, on its threads, without a window.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/BringUp.h"
#include "foundation/Files.h"
#include "foundation/Settings.h"
#include "foundation/Ticks.h"
#include "support/CameraServer.h"
#include "support/Discs.h"
#include "support/Soon.h"

namespace {

TEST(EyesWorker, SwitchedOnAndOffTheLastWordCounts) {
    CameraServer cameras;
    cameras.plugIn("Desk camera", {"YUY2:640x480@15"});
    const DiscPicture picture(640, 480,
                              {{.x = 320, .y = 240, .radius = 60, .red = 230, .green = 20, .blue = 20}});
    cameras.show("Desk camera", {picture.width, picture.height, picture.pixels});
    const std::string models = joinPath(dataFolder(), "face-models");
    installTinyModels(models);
    MessageQueue messages;
    Brain brain;
    Assistant assistant{brain};
    SpeechEngine speech;
    Ears ears;
    Eyes eyes;
    BringUp bringUp{brain, assistant, speech, ears, eyes, messages};
    std::vector<std::string> told;
    const auto read = [&] {
        for (const Message& message : messages.take())
            if (message.source == bringUp.eyesNumber) told.push_back(message.text);
        return told;
    };

    Settings& settings = Settings::instance();
    bringUp.startEyesWorker();
    EXPECT_EQ(bringUp.eyesNumber, 0U) << "the camera is off";
    settings.camOn = true;
    bringUp.faceModels = dataFolder();
    bringUp.startEyesWorker();
    EXPECT_TRUE(soon([&] { return read() == std::vector<std::string>{"I couldn't load my face models."}; }));
    EXPECT_FALSE(eyes.running);

    bringUp.faceModels = models;
    for (uint64_t round = 0; round < 12; ++round) {
        bringUp.startEyesWorker();
        (void)pauseUnlessCancelled(round * 20, nullptr);
        if (round % 3 == 0) {
            bringUp.stopEyes();
            bringUp.startEyesWorker();
        }
        bringUp.stopEyes();
        EXPECT_FALSE(eyes.running);
    }
    (void)pauseUnlessCancelled(300, nullptr);
    EXPECT_FALSE(eyes.running) << "a worker that was called off has started them";
    told.clear();
    bringUp.startEyesWorker();
    EXPECT_TRUE(soon([&] { return eyes.sighting().present; }));
    EXPECT_TRUE(read().empty());
    // The models aren't asked for again.
    removeFolder(models);
    bringUp.stopEyes();
    EXPECT_FALSE(eyes.sighting().present);
    bringUp.startEyesWorker();
    EXPECT_TRUE(soon([&] { return eyes.sighting().present; }));
    bringUp.stopEyes();
    bringUp.eyesWorker.join();
}

}  // namespace
