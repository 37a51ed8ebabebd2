// The companion with its eyes open: people come before the camera and go.

#include <functional>
#include <nlohmann/json.hpp>

#include "core/MenuCommands.h"
#include "desktop/Session.h"
#include "foundation/Ticks.h"
#include "support/CameraServer.h"
#include "support/Discs.h"

namespace {

using std::chrono::milliseconds;

constexpr const char* introductions = R"({"replies": [
    {"when": "Ada", "role": "user", "calls": [{"name": "learn_face", "arguments": {"name": "Ada"}}]},
    {"when": "Bob", "role": "user", "calls": [{"name": "learn_face", "arguments": {"name": "Bob"}}]},
    {"role": "tool", "when": "", "text": "Nice to meet you, indeed. From now on I will know you wherever in the picture you are, and tell everybody who asks me."}],
    "default": {"text": "I am fine, thank you."}})";

class SightSession : public Session {
protected:
    SightSession() {
        for (const bool useGpu : {false, true})
            installFakeEngine(dataFolder(), useGpu, introductions);
        models = joinPath(dataFolder(), "face-models");
        installTinyModels(models);
        velu->bringUp.faceModels = models;
        Settings::instance().camOn = true;
        cameras.plugIn("Desk camera", {"YUY2:640x480@15"});
    }

    void show(const std::vector<Disc>& discs) {
        const DiscPicture picture(640, 480, discs);
        cameras.show("Desk camera", {picture.width, picture.height, picture.pixels});
    }

    void pause(int ms) {
        until([] { return false; }, milliseconds(ms));
    }

    std::string seen() const {
        const std::lock_guard guard(velu->assistant.mutex);
        return velu->assistant.seenText;
    }

    bool sees(const std::string& whom) {
        return until([&] { return seen() == whom; });
    }

    /// Asked and answered.
    void tell(const std::string& word) {
        ask(word);
        ASSERT_TRUE(until([this] { return isQuiet() && !velu->bubble.text.empty(); }));
    }

    /// How often the log has these words.
    static size_t logged(const std::string& words) {
        const std::string log = contentOf("velu.log");
        size_t count = 0;
        for (size_t at = log.find(words); at != std::string::npos; at = log.find(words, at + 1))
            ++count;
        return count;
    }

    std::string systemPrompt() const {
        const auto request = nlohmann::json::parse(contentOf("last-request.json"));
        return request["messages"][0]["content"].get<std::string>();
    }

    const Disc red{.x = 480, .y = 120, .radius = 60, .red = 230, .green = 20, .blue = 20};
    const Disc green{.x = 160, .y = 240, .radius = 80, .red = 20, .green = 230, .blue = 20};
    std::string models;
    CameraServer cameras;
};

TEST_F(SightSession, PeopleAreSeenIntroducedAndGreeted) {
    show({red});
    startReady();
    ASSERT_TRUE(sees("an unrecognized person"));
    // It looks at them: to its own left, which is the picture's right, and up.
    ASSERT_TRUE(until([this] { return velu->animator.watching && velu->animator.gazeX < -0.7F; }));
    EXPECT_NEAR(velu->animator.gazeX, -0.8, 0.05);
    EXPECT_NEAR(velu->animator.gazeY, -0.8, 0.05);
    tell("hello");
    EXPECT_NE(systemPrompt().find("Through your camera you currently see: an unrecognized person."),
              std::string::npos);
    EXPECT_TRUE(shows("I am fine, thank you."));

    Settings::instance().voiceOn = false;
    tell("Ada");
    EXPECT_NE(contentOf("last-request.json").find("Got it, I'll remember Ada's face."), std::string::npos);
    ASSERT_TRUE(sees("Ada"));
    pause(700);
    EXPECT_TRUE(shows("Nice to meet you, indeed.")) << "no greeting over it: " << velu->bubble.text;
    Settings::instance().voiceOn = true;
    // A larger face takes the place of hers, and is introduced as well.
    show({red, green});
    ASSERT_TRUE(sees("an unrecognized person"));
    ASSERT_TRUE(until([this] { return velu->animator.gazeX > 0.7F; }));
    tell("Bob");
    ASSERT_TRUE(sees("Bob"));
    show({red});
    ASSERT_TRUE(sees("Ada"));
    show({});
    ASSERT_TRUE(sees(""));
    tell("hello");
    EXPECT_EQ(systemPrompt().find("Through your camera"), std::string::npos);

    // Asleep it knows who is there, and doesn't look.
    show({red});
    carryOut(*velu, MenuCommand::sleep);
    ASSERT_TRUE(sees("Ada"));
    pause(200);
    EXPECT_FALSE(velu->animator.watching);
}

TEST_F(SightSession, WhoComesBackIsGreetedOnceInHalfAnHour) {
    // As a later start finds it: Ada is known.
    show({red});
    startReady();
    ASSERT_TRUE(sees("an unrecognized person"));
    tell("Ada");
    ASSERT_TRUE(sees("Ada"));
    shutDownCompanion(*velu);
    velu = std::make_unique<Companion>(Endpoints(), sessionModels);
    velu->brain.port = freePort();
    velu->brain.probeGpu = [] { return false; };
    velu->bringUp.faceModels = models;
    show({});
    startReady();
    ASSERT_TRUE(until([this] { return isQuiet() && velu->eyes.running; }));
    pause(500);
    show({red});
    ASSERT_TRUE(until([this] { return shows("Hi Ada!") && velu->bubble.isVisible(); }));
    EXPECT_EQ(velu->voice.pending, 1) << "aloud";
    ASSERT_TRUE(until([this] { return isQuiet(); }));

    // The camera switched off and on is another visit, too soon for another greeting.
    velu->bubble.hide();
    carryOut(*velu, MenuCommand::useCamera);
    EXPECT_FALSE(velu->eyes.running);
    ASSERT_TRUE(sees(""));
    EXPECT_FALSE(menuState(*velu).camOn);
    tell("Ada");
    EXPECT_NE(contentOf("last-request.json").find("My camera is off, so I can't see your face."),
              std::string::npos);
    velu->bubble.hide();
    carryOut(*velu, MenuCommand::useCamera);
    ASSERT_TRUE(sees("Ada"));
    pause(1000);
    EXPECT_FALSE(velu->bubble.isVisible()) << velu->bubble.text;
    // Saving the settings starts it anew, with the models that are loaded.
    const size_t openings = logged("camera opened");
    carryOut(*velu, MenuCommand::settings);
    ASSERT_TRUE(
        until([this] { return desktop.findWindow("Velu Settings", getpid()) == desktop.activeWindow(); }));
    desktop.act("key Return");
    ASSERT_TRUE(until([&] { return logged("camera opened") == openings + 1; }));
    ASSERT_TRUE(sees("Ada"));
    EXPECT_EQ(logged("vision models loaded"), 2U) << "once by each of the two companions";
}

TEST_F(SightSession, ACameraThatGoesOrFailsSaysSo) {
    velu->bringUp.faceModels = dataFolder();
    show({red});
    startReady();
    ASSERT_TRUE(until([this] { return shows("I couldn't load my face models."); }));
    velu->bringUp.faceModels = models;
    carryOut(*velu, MenuCommand::useCamera);
    carryOut(*velu, MenuCommand::useCamera);
    ASSERT_TRUE(sees("an unrecognized person"));
    velu->bubble.hide();
    pause(500);
    cameras.unplug("Desk camera");
    ASSERT_TRUE(until([this] { return shows("My camera stopped working.") && velu->bubble.isVisible(); }));
    EXPECT_TRUE(sees("")) << "nobody is seen by a camera that is gone";
    carryOut(*velu, MenuCommand::useCamera);
    velu->bubble.hide();
    carryOut(*velu, MenuCommand::useCamera);
    ASSERT_TRUE(until([this] { return shows("I couldn't find a camera.") && velu->bubble.isVisible(); }));
    // It ends at once though the camera hangs.
    cameras.plugIn("Desk camera", {"YUY2:640x480@15"});
    show({red});
    carryOut(*velu, MenuCommand::useCamera);
    carryOut(*velu, MenuCommand::useCamera);
    ASSERT_TRUE(sees("an unrecognized person"));
    cameras.pause();
    const uint64_t begin = tickCount();
    shutDownCompanion(*velu);
    EXPECT_LT(tickCount() - begin, 8000U) << "opening a camera that hangs takes longer";
    cameras.resume();
    velu = std::make_unique<Companion>();
}

}  // namespace
