// The companion with its eyes open: people come before the camera and go.

#include "desktop/Session.h"
#include "foundation/Ticks.h"
#include "support/CameraServer.h"
#include "support/Discs.h"

namespace {

constexpr const char* introductions = R"({"replies": [
    {"when": "Ada", "role": "user", "calls": [{"name": "learn_face", "arguments": {"name": "Ada"}}]},
    {"when": "Bob", "role": "user", "calls": [{"name": "learn_face", "arguments": {"name": "Bob"}}]},
    {"role": "tool", "when": "", "text": "Nice to meet you, indeed. From now on I will know you wherever in the picture you are, and tell everybody who asks me."}],
    "default": {"text": "I am fine, thank you."}})";

/// Nothing is spoken aloud, which would take long.
class SightSession : public Session {
protected:
    SightSession() {
        for (const bool useGpu : {false, true})
            installFakeEngine(dataFolder(), useGpu, introductions);
        installTinyModels(faceModels);
        velu->bringUp.faceModels = faceModels;
        settings.camOn = true;
        settings.voiceOn = false;
        cameras.plugIn("Desk camera", {"YUY2:640x480@15"});
    }

    void show(const std::vector<Disc>& discs) {
        const DiscPicture picture(640, 480, discs);
        cameras.show("Desk camera", {picture.width, picture.height, picture.pixels});
    }

    bool sees(const std::string& whom) {
        return until([&] {
            const std::lock_guard guard(velu->assistant.mutex);
            return velu->assistant.seenText == whom;
        });
    }

    /// Asked and answered.
    void tell(const std::string& word) {
        ask(word);
        ASSERT_TRUE(until([this] { return isQuiet() && !velu->bubble.text.empty(); }));
    }

    void switchCamera() { carryOut(*velu, MenuCommand::useCamera); }

    /// How often the log has these words.
    static int logged(const std::string& words) {
        const std::string log = dataText("velu.log");
        int count = 0;
        for (size_t at = log.find(words); at != log.npos; at = log.find(words, at + 1))
            ++count;
        return count;
    }

    static bool requestHolds(const std::string& words) {
        return dataText("last-request.json").find(words) != std::string::npos;
    }

    const Disc red{.x = 480, .y = 120, .radius = 60, .red = 230, .green = 20, .blue = 20};
    const Disc green{.x = 160, .y = 240, .radius = 80, .red = 20, .green = 230, .blue = 20};
    const std::string faceModels = joinPath(dataFolder(), "face-models");
    CameraServer cameras;
};

TEST_F(SightSession, PeopleAreSeenIntroducedAndGreetedOnceInHalfAnHour) {
    show({red});
    startReady();
    ASSERT_TRUE(sees("an unrecognized person"));
    // It looks at them: to its own left, which is the picture's right, and up.
    ASSERT_TRUE(until([this] { return velu->animator.watching && velu->animator.gazeX < -0.7F; }));
    EXPECT_NEAR(velu->animator.gazeX, -0.8, 0.05);
    EXPECT_NEAR(velu->animator.gazeY, -0.8, 0.05);
    tell("hello");
    EXPECT_TRUE(requestHolds("Through your camera you currently see: an unrecognized person."));
    tell("Ada");
    EXPECT_TRUE(requestHolds("Got it, I'll remember Ada's face."));
    ASSERT_TRUE(sees("Ada"));
    runFor(300);
    EXPECT_TRUE(shows("Nice to meet you, indeed.")) << "no greeting over it: " << velu->bubble.text;
    // A larger face takes the place of hers, and is introduced as well.
    show({red, green});
    ASSERT_TRUE(sees("an unrecognized person"));
    ASSERT_TRUE(until([this] { return velu->animator.gazeX > 0.7F; }));
    tell("Bob");
    ASSERT_TRUE(sees("Bob"));
    show({});
    ASSERT_TRUE(sees(""));
    tell("hello");
    EXPECT_FALSE(requestHolds("Through your camera"));
    // Asleep it knows who is there, and doesn't look.
    show({red});
    carryOut(*velu, MenuCommand::sleep);
    ASSERT_TRUE(sees("Ada"));
    velu->pass();
    EXPECT_FALSE(velu->animator.watching);

    // A later start greets her, aloud.
    shutDownCompanion(*velu);
    makeCompanion();
    velu->bringUp.faceModels = faceModels;
    settings.voiceOn = true;
    show({});
    startReady();
    ASSERT_TRUE(until([this] { return velu->eyes.running && logged("camera opened") == 2; }));
    show({red});
    ASSERT_TRUE(until([this] { return shows("Hi Ada!") && velu->bubble.isVisible(); }));
    EXPECT_EQ(velu->voice.pending, 1);
    settings.voiceOn = false;
    velu->conversation.stopSpeaking();
    // The camera switched off and on is another visit, too soon for another greeting.
    switchCamera();
    EXPECT_FALSE(velu->eyes.running || menuState(*velu).camOn);
    ASSERT_TRUE(sees(""));
    tell("Ada");
    EXPECT_TRUE(requestHolds("My camera is off, so I can't see your face."));
    velu->conversation.stopSpeaking();
    velu->bubble.hide();
    switchCamera();
    ASSERT_TRUE(sees("Ada"));
    runFor(300);
    EXPECT_FALSE(velu->bubble.isVisible()) << velu->bubble.text;
    // Saving the settings starts it anew, with the models that are loaded.
    const int openings = logged("camera opened");
    openSettings();
    desktop.act("key Return");
    ASSERT_TRUE(until([&] { return logged("camera opened") == openings + 1; }));
    ASSERT_TRUE(sees("Ada"));
    EXPECT_EQ(logged("vision models loaded"), 2) << "once by each of the two companions";
    cameras.unplug("Desk camera");
    ASSERT_TRUE(until([this] { return shows("My camera stopped working.") && velu->bubble.isVisible(); }));
    EXPECT_TRUE(sees("")) << "nobody is seen by a camera that is gone";
}

}  // namespace
