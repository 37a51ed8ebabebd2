// The eyes at a real camera of PipeWire's, with the tiny networks: discs are faces, and a colour is a person.

#include "vision/Eyes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "foundation/Paths.h"
#include "foundation/Ticks.h"
#include "support/CameraServer.h"
#include "support/Discs.h"
#include "support/Soon.h"
#include "support/TestData.h"

namespace {

using Strings = std::vector<std::string>;
constexpr const char* usual = "YUY2:640x480@15";

class EyesTest : public testing::Test {
protected:
    EyesTest() {
        installTinyModels(models);
        eyes.onProblem = [this](const std::string& sentence) { note(sentence); };
        eyes.onGreet = [this](const std::string& name) { note("Hello " + name); };
    }

    void note(const std::string& text) {
        const std::lock_guard guard(mutex);
        told.push_back(text);
    }

    void plugIn(const std::vector<std::string>& formats) {
        const DiscPicture picture(640, 480, {{.x = 480, .y = 240, .radius = 60, .red = 230}});
        cameras.plugIn("Desk camera", formats);
        cameras.show("Desk camera", {picture.width, picture.height, picture.pixels});
    }

    bool isLogged(const std::string& text) { return dataText("velu.log").find(text) != std::string::npos; }

    /// Returns what the eyes have told since the last call, once they have told so much.
    Strings toldOnce(size_t count) {
        EXPECT_TRUE(soon([&] {
            const std::lock_guard guard(mutex);
            return told.size() >= count;
        }));
        const std::lock_guard guard(mutex);
        return std::exchange(told, {});
    }

    const std::string models = dataFolder() + "/face-models";
    CameraServer cameras;
    std::mutex mutex;
    Strings told;  // guarded by `mutex`
    Eyes eyes;
};

TEST_F(EyesTest, TellWhomTheySeeAndWhatTheyCannotSee) {
    EXPECT_FALSE(eyes.start("")) << "without models";
    ASSERT_TRUE(eyes.loadModels(models));

    const auto startInVain = [this](const char* complaint) {
        ASSERT_TRUE(eyes.start(""));
        EXPECT_TRUE(soon([this] { return !eyes.running; }));
        EXPECT_EQ(toldOnce(1), Strings{complaint});
    };
    startInVain("I couldn't find a camera.");
    cameras.plugIn("Front IR Camera", {usual});
    cameras.plugIn("Night camera", {"GRAY8:640x480@15"});
    startInVain("I couldn't pick a camera.");
    cameras.plugIn("Film camera", {"H264:640x480@15"});
    startInVain("My camera doesn't support a format I can read.");
    cameras.unplug("Film camera");
    plugIn({"YUY2:1280x720@10", usual});
    ASSERT_TRUE(eyes.start(""));
    ASSERT_TRUE(soon([this] { return eyes.sighting().present; }));
    EXPECT_TRUE(isLogged("camera opened 640x480"));
    ASSERT_TRUE(soon([this] { return eyes.learnFace("Ann") == "Got it, I'll remember Ann's face."; }));
    EXPECT_EQ(toldOnce(1), Strings{"Hello Ann"});
    cameras.unplug("Desk camera");
    EXPECT_EQ(toldOnce(1), Strings{"My camera stopped working."});
}

TEST_F(EyesTest, OutliveWhatTheirCallbacksThrow) {
    eyes.onProblem = [](const std::string&) { throw 5; };
    ASSERT_TRUE(eyes.loadModels(models));
    ASSERT_TRUE(eyes.start(""));
    EXPECT_TRUE(soon([this] { return !eyes.running; }));
    EXPECT_TRUE(isLogged("a problem of the camera can't be told: an error of an unknown kind"));
}

TEST_F(EyesTest, SwitchedOffTheyLetGoAtOnceWhateverTheCameraDoes) {
    plugIn({usual});
    ASSERT_TRUE(eyes.loadModels(models));
    for (const int64_t waited : {0, 20, 60, 300, -1}) {  // -1: until it sees; from 300 on nothing answers
        // The shortest of several attempts counts, for the machine may be busy.
        constexpr uint64_t limitMs = 300;
        uint64_t shortest = limitMs + 1;
        for (int attempt = 0; attempt < 5 && shortest > limitMs; ++attempt) {
            if (waited == 300) cameras.pause();
            ASSERT_TRUE(eyes.start(""));
            if (waited == -1) {
                ASSERT_TRUE(soon([this] { return eyes.sighting().present; }));
                cameras.pauseCamera("Desk camera");
                cameras.pause();
            }
            (void)pauseUnlessCancelled(waited == -1 ? 300 : static_cast<uint64_t>(waited), nullptr);
            const uint64_t stopped = tickCount();
            eyes.stop();
            shortest = std::min(shortest, tickCount() - stopped);
            EXPECT_FALSE(eyes.running || eyes.sighting().present) << waited;
            cameras.resume();
            cameras.resumeCamera("Desk camera");
        }
        EXPECT_LE(shortest, limitMs) << waited;
    }
    EXPECT_EQ(toldOnce(0), Strings{});
}

}  // namespace
