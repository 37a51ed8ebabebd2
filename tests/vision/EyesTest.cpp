// The eyes at a real camera of PipeWire's, with the tiny networks: discs are faces, and their colours
// persons.

#include "vision/Eyes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "foundation/Ticks.h"
#include "support/CameraServer.h"
#include "support/Discs.h"
#include "support/Soon.h"

namespace {

constexpr const char* usual = "YUY2:640x480@15";

std::string contentOf(const std::string& name) {
    std::string text;
    (void)readWholeFile(joinPath(dataFolder(), name), text);
    return text;
}

class EyesTest : public testing::Test {
protected:
    EyesTest() {
        installTinyModels(models);
        eyes.onProblem = [this](const std::string& sentence) {
            const std::lock_guard guard(mutex);
            problems.push_back(sentence);
        };
    }

    void show(const std::vector<Disc>& discs) {
        const DiscPicture picture(640, 480, discs);
        cameras.show("Desk camera", {picture.width, picture.height, picture.pixels});
    }

    /// Started, with red discs before it.
    void startSeeing() {
        cameras.plugIn("Desk camera", {usual});
        show({red});
        ASSERT_TRUE(eyes.loadModels(models));
        ASSERT_TRUE(eyes.start(""));
        ASSERT_TRUE(soon([this] { return eyes.sighting().present; }));
    }

    bool becomes(const std::string& name) {
        return soon([&] { return eyes.sighting().present && eyes.sighting().name == name; });
    }

    /// What it has complained of, once it has ended.
    std::vector<std::string> complaints() {
        EXPECT_TRUE(soon([this] { return !eyes.running; }));
        eyes.stop();
        return std::exchange(problems, {});
    }

    const Disc red{.x = 480, .y = 240, .radius = 60, .red = 230, .green = 20, .blue = 20};
    const Disc green{.x = 160, .y = 120, .radius = 80, .red = 20, .green = 230, .blue = 20};
    const std::string models = joinPath(dataFolder(), "face-models");
    CameraServer cameras;
    std::mutex mutex;
    std::vector<std::string> problems;  // guarded by `mutex`
    Eyes eyes;
};

TEST_F(EyesTest, TellWhatTheyCannotSee) {
    EXPECT_FALSE(eyes.start("")) << "without models";
    EXPECT_FALSE(eyes.loadModels(dataFolder()));
    EXPECT_NE(contentOf("velu.log").find("vision model load failed: "), std::string::npos);
    EXPECT_TRUE(eyes.detect({}).empty());
    ASSERT_TRUE(eyes.loadModels(models));
    EXPECT_NE(contentOf("velu.log").find("vision models loaded (detector input 320)"), std::string::npos);

    using Problems = std::vector<std::string>;
    ASSERT_TRUE(eyes.start(""));
    EXPECT_EQ(complaints(), Problems{"I couldn't find a camera."});
    cameras.plugIn("Front IR Camera", {usual});
    cameras.plugIn("Night camera", {"GRAY8:640x480@15"});
    ASSERT_TRUE(eyes.start(""));
    EXPECT_EQ(complaints(), Problems{"I couldn't pick a camera."});
    cameras.plugIn("Film camera", {"H264:640x480@15"});
    ASSERT_TRUE(eyes.start(""));
    EXPECT_EQ(complaints(), Problems{"My camera doesn't support a format I can read."});
    cameras.unplug("Film camera");
    cameras.plugIn("Desk camera", {"YUY2:1280x720@10", usual});
    show({red});
    ASSERT_TRUE(eyes.start(""));
    ASSERT_TRUE(soon([this] { return eyes.sighting().present; }));
    EXPECT_NE(contentOf("velu.log").find("camera opened 640x480"), std::string::npos);
    cameras.unplug("Desk camera");
    EXPECT_EQ(complaints(), Problems{"My camera stopped working."});
    EXPECT_NE(contentOf("velu.log").find("camera stream ended (0x"), std::string::npos);
}

TEST_F(EyesTest, KnowWhomTheyWereIntroducedTo) {
    eyes.debugImagePath = joinPath(dataFolder(), "debug.png");
    startSeeing();
    EXPECT_NEAR(eyes.sighting().nx, 0.5, 0.02);
    EXPECT_NEAR(eyes.sighting().ny, 0, 0.02);
    EXPECT_EQ(eyes.sighting().name, "");
    ASSERT_TRUE(soon([this] { return eyes.learnFace("Ann") == "Got it, I'll remember Ann's face."; }));
    EXPECT_TRUE(becomes("Ann"));
    // A larger face comes into the picture.
    show({red, green});
    EXPECT_TRUE(becomes(""));
    EXPECT_NEAR(eyes.sighting().nx, -0.5, 0.02);
    EXPECT_NEAR(eyes.sighting().ny, -0.5, 0.02);
    EXPECT_EQ(eyes.learnFace("Bob"), "Got it, I'll remember Bob's face.");
    show({red});
    EXPECT_TRUE(becomes("Ann"));
    show({});
    EXPECT_TRUE(soon([this] { return !eyes.sighting().present; }));
    EXPECT_EQ(eyes.learnFace("Ann"), "I can't see a face right now. Look at the camera and ask again.");
    eyes.stop();
    EXPECT_EQ(eyes.learnFace("Ann"),
              "My camera is off, so I can't see your face. Turn it on in my menu first.");
    EXPECT_TRUE(contentOf("debug.png").starts_with("\x89PNG"));
    EXPECT_NE(contentOf("velu.log").find("detect: 1 face(s) best score 0."), std::string::npos);
    EXPECT_NE(contentOf("velu.log").find("detect: 0 face(s)\n"), std::string::npos);

    // With the next start both are known still, and greeted.
    std::vector<std::string> greeted;
    eyes.onGreet = [&](const std::string& name) {
        const std::lock_guard guard(mutex);
        greeted.push_back(name);
    };
    ASSERT_TRUE(eyes.loadModels(models));
    show({green});
    ASSERT_TRUE(eyes.start("Desk"));
    EXPECT_TRUE(becomes("Bob"));
    EXPECT_TRUE(soon([&] {
        const std::lock_guard guard(mutex);
        return greeted == std::vector<std::string>{"Bob"};
    }));
    eyes.stop();
}

TEST_F(EyesTest, TellOnceOfACameraThatShowsOnlyBlack) {
    cameras.plugIn("Desk camera", {usual});
    const std::vector<uint8_t> black(size_t{640} * 480 * 4);
    cameras.show("Desk camera", {640, 480, black});
    ASSERT_TRUE(eyes.loadModels(models));
    ASSERT_TRUE(eyes.start(""));
    EXPECT_TRUE(soon([this] {
        const std::lock_guard guard(mutex);
        return !problems.empty();
    }));
    show({red});
    EXPECT_TRUE(soon([this] { return eyes.sighting().present; })) << "the shutter was opened";
    eyes.stop();
    EXPECT_EQ(problems, (std::vector<std::string>{"My camera only shows black. Check the privacy shutter or "
                                                  "Windows camera privacy settings."}));
}

TEST_F(EyesTest, SwitchedOffTheyLetGoAtOnceWhateverTheCameraDoes) {
    startSeeing();
    // Whether it takes the time that is promised, at least once, for the machine may be busy.
    const auto stopsInTime = [this](const std::function<void()>& prepare) {
        constexpr uint64_t limitMs = 300;
        uint64_t shortest = limitMs + 1;
        for (int attempt = 0; attempt < 5 && shortest > limitMs; ++attempt) {
            prepare();
            const uint64_t begin = tickCount();
            eyes.stop();
            shortest = std::min(shortest, tickCount() - begin);
            EXPECT_FALSE(eyes.running || eyes.sighting().present);
            cameras.resume();
            cameras.resumeCamera("Desk camera");
        }
        return shortest <= limitMs;
    };
    const auto see = [this] {
        ASSERT_TRUE(eyes.start(""));
        ASSERT_TRUE(soon([this] { return eyes.sighting().present; }));
    };
    EXPECT_TRUE(stopsInTime(see));
    for (const uint64_t ms : {0, 10, 30, 60, 90}) {
        EXPECT_TRUE(stopsInTime([&] {
            ASSERT_TRUE(eyes.start(""));
            (void)pauseUnlessCancelled(ms, nullptr);
        })) << "while it opens";
    }
    EXPECT_TRUE(stopsInTime([this] {
        cameras.pause();
        ASSERT_TRUE(eyes.start(""));
        (void)pauseUnlessCancelled(300, nullptr);
    })) << "nothing answers";
    EXPECT_TRUE(stopsInTime([&] {
        see();
        cameras.pauseCamera("Desk camera");
        cameras.pause();
        (void)pauseUnlessCancelled(300, nullptr);
    })) << "all of it hangs";
    see();
    EXPECT_TRUE(problems.empty());
}

}  // namespace
