// The eyes at a real camera of PipeWire's, with the tiny networks: discs are faces, and a colour is a person.

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
        eyes.onProblem = [this](const std::string& sentence) { note(sentence); };
        eyes.onGreet = [this](const std::string& name) { note("Hello " + name); };
    }

    void note(const std::string& text) {
        const std::lock_guard guard(mutex);
        told.push_back(text);
    }

    void show(const std::vector<Disc>& discs) {
        const DiscPicture picture(640, 480, discs);
        cameras.show("Desk camera", {picture.width, picture.height, picture.pixels});
    }

    void startSeeing() {
        ASSERT_TRUE(eyes.start(""));
        ASSERT_TRUE(soon([this] { return eyes.sighting().present; }));
    }

    bool isLogged(const std::string& text) { return contentOf("velu.log").find(text) != std::string::npos; }

    /// Returns what the eyes have told since the last call, once they have told so much.
    std::vector<std::string> toldOnce(size_t count) {
        EXPECT_TRUE(soon([&] {
            const std::lock_guard guard(mutex);
            return told.size() >= count;
        }));
        const std::lock_guard guard(mutex);
        return std::exchange(told, {});
    }

    using Told = std::vector<std::string>;
    const Disc red{.x = 480, .y = 240, .radius = 60, .red = 230, .green = 20, .blue = 20};
    const std::string models = joinPath(dataFolder(), "face-models");
    CameraServer cameras;
    std::mutex mutex;
    Told told;  // guarded by `mutex`
    Eyes eyes;
};

TEST_F(EyesTest, TellWhomTheySeeAndWhatTheyCannotSee) {
    EXPECT_FALSE(eyes.start("")) << "without models";
    EXPECT_FALSE(eyes.loadModels(dataFolder()));
    EXPECT_TRUE(isLogged("vision model load failed: "));
    EXPECT_TRUE(eyes.detect({}).empty());
    ASSERT_TRUE(eyes.loadModels(models));
    EXPECT_TRUE(isLogged("vision models loaded (detector input 320)"));

    const auto startInVain = [this](const char* complaint) {
        ASSERT_TRUE(eyes.start(""));
        EXPECT_TRUE(soon([this] { return !eyes.running; }));
        EXPECT_EQ(toldOnce(1), Told{complaint});
    };
    startInVain("I couldn't find a camera.");
    cameras.plugIn("Front IR Camera", {usual});
    cameras.plugIn("Night camera", {"GRAY8:640x480@15"});
    startInVain("I couldn't pick a camera.");
    cameras.plugIn("Film camera", {"H264:640x480@15"});
    startInVain("My camera doesn't support a format I can read.");
    cameras.unplug("Film camera");
    cameras.plugIn("Desk camera", {"YUY2:1280x720@10", usual});
    show({red});
    eyes.debugImagePath = joinPath(dataFolder(), "debug.png");
    startSeeing();
    EXPECT_TRUE(isLogged("camera opened 640x480"));
    EXPECT_TRUE(soon([this] { return isLogged("detect: 1 face(s) best score 0."); }));
    EXPECT_TRUE(contentOf("debug.png").starts_with("\x89PNG"));
    EXPECT_NEAR(eyes.sighting().nx, 0.5, 0.02);
    EXPECT_NEAR(eyes.sighting().ny, 0, 0.02);
    ASSERT_TRUE(soon([this] { return eyes.learnFace("Ann") == "Got it, I'll remember Ann's face."; }));
    EXPECT_EQ(toldOnce(1), Told{"Hello Ann"});
    EXPECT_EQ(eyes.sighting().name, "Ann");
    cameras.unplug("Desk camera");
    EXPECT_EQ(toldOnce(1), Told{"My camera stopped working."});
    EXPECT_TRUE(isLogged("camera stream ended (0x"));
    EXPECT_EQ(eyes.learnFace("Ann"),
              "My camera is off, so I can't see your face. Turn it on in my menu first.");
}

TEST_F(EyesTest, OutliveWhatTheirCallbacksThrow) {
    eyes.onProblem = [](const std::string&) { throw std::runtime_error("no words for it"); };
    ASSERT_TRUE(eyes.loadModels(models));
    for (const std::string message : {"no words for it", "of an unknown kind"}) {
        ASSERT_TRUE(eyes.start(""));
        EXPECT_TRUE(soon([this] { return !eyes.running; }));
        EXPECT_TRUE(isLogged(message));
        eyes.stop();
        eyes.onProblem = [](const std::string&) { throw 5; };
    }
}

TEST_F(EyesTest, TellOnceOfACameraThatShowsOnlyBlack) {
    cameras.plugIn("Desk camera", {usual});
    cameras.show("Desk camera", {640, 480, std::vector<uint8_t>(size_t{640} * 480 * 4)});
    ASSERT_TRUE(eyes.loadModels(models));
    ASSERT_TRUE(eyes.start(""));
    EXPECT_EQ(toldOnce(1), Told{"My camera only shows black. Check the privacy shutter or "
                                "Windows camera privacy settings."});
    show({red});
    EXPECT_TRUE(soon([this] { return eyes.sighting().present; })) << "the shutter was opened";
    eyes.stop();
    EXPECT_EQ(toldOnce(0), Told{});
}

TEST_F(EyesTest, SwitchedOffTheyLetGoAtOnceWhateverTheCameraDoes) {
    cameras.plugIn("Desk camera", {usual});
    show({red});
    ASSERT_TRUE(eyes.loadModels(models));
    const auto wait = [](uint64_t ms) { (void)pauseUnlessCancelled(ms, nullptr); };
    const auto begin = [this, wait](uint64_t ms) {
        ASSERT_TRUE(eyes.start(""));
        wait(ms);
    };
    const std::pair<const char*, std::function<void()>> states[] = {
        {"it sees", [this] { startSeeing(); }},
        {"just started", [begin] { begin(0); }},
        {"lists the cameras", [begin] { begin(20); }},
        {"opens the camera", [begin] { begin(60); }},
        {"nothing answers",
         [this, begin] {
             cameras.pause();
             begin(300);
         }},
        {"all of it hangs",
         [this, wait] {
             startSeeing();
             cameras.pauseCamera("Desk camera");
             cameras.pause();
             wait(300);
         }},
    };
    for (const auto& [state, prepare] : states) {
        // The shortest of several attempts counts, for the machine may be busy.
        constexpr uint64_t limitMs = 300;
        uint64_t shortest = limitMs + 1;
        for (int attempt = 0; attempt < 5 && shortest > limitMs; ++attempt) {
            prepare();
            const uint64_t stopped = tickCount();
            eyes.stop();
            shortest = std::min(shortest, tickCount() - stopped);
            EXPECT_FALSE(eyes.running || eyes.sighting().present) << state;
            cameras.resume();
            cameras.resumeCamera("Desk camera");
        }
        EXPECT_LE(shortest, limitMs) << state;
    }
    startSeeing();
    EXPECT_EQ(toldOnce(0), Told{});
}

}  // namespace
