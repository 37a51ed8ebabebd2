// The companion spoken to: what is played into the room reaches its microphone, and its own voice does, too.

#include <algorithm>
#include <cstdlib>
#include <functional>

#include "core/MenuCommands.h"
#include "desktop/Session.h"
#include "foundation/Ticks.h"
#include "support/Speech.h"

namespace {

using std::chrono::milliseconds;

// What the stand-in for speech recognition makes of a tone behind the words.
constexpr double asksForTime = 400;
constexpr double saysOnlyName = 1000;
constexpr double answers = 2500;
constexpr const char* speechScript = R"({"tones": {"400": " Velu, what time is it?\n", "1000": " Velu.\n",
                                                   "2500": " how are you\n"}})";

class HearingSession : public Session {
protected:
    HearingSession() {
        Settings::instance().micOn = true;
        installFakeSpeechEngine(joinPath(dataFolder(), "whisper"), speechScript);
        placeModel(joinPath(modelsFolder(), "ggml-base.en.bin"), 140566000);
        velu->speech.port = freePort();
        velu->speech.probeCuda = [] { return false; };
    }

    void startListening() {
        // Its own voice is in the room, too.
        sound.control({"load-module", "module-loopback", "source=speaker.monitor", "sink=room"});
        startReady();
        ASSERT_TRUE(until([this] { return velu->ears.running && !velu->bringUp.earsStarting; }));
        ASSERT_TRUE(
            until([this] { return contentOf("velu.log").find("capture started") != std::string::npos; }));
    }

    void pause(int ms) {
        until([] { return false; }, milliseconds(ms));
    }

    /// Says the name, and behind it a tone that tells what is asked. When it isn't heard somebody else does.
    void call(const std::string& words, double hertz) {
        for (const char* voice : {"rms", "slt", "awb", "kal16", "rms", "slt"}) {
            playing = sound.playToRoom(joined({speech(words, voice), silence(0.15), tone(hertz)}));
            if (until([this] { return velu->ears.capturing.load(); }, milliseconds(6000))) return;
        }
        FAIL() << "it doesn't listen to its name";
    }

    void answer(double hertz) {
        playing = sound.playToRoom(joined({speech("very well then", "rms"), tone(hertz)}));
        ASSERT_TRUE(until([&] { return playing->result().has_value(); }));
    }

    size_t questionsHeard() const {
        std::string requests;
        (void)readWholeFile(joinPath(joinPath(dataFolder(), "whisper"), "requests.jsonl"), requests);
        return static_cast<size_t>(std::count(requests.begin(), requests.end(), '\n'));
    }

    std::unique_ptr<TestProgram> playing;
};

TEST_F(HearingSession, ANameAndAQuestionInOneBreathAreAnsweredAloud) {
    velu->asleep = true;
    startListening();
    sound.record();
    call("velu, what time is it", asksForTime);
    ASSERT_TRUE(until([this] { return !velu->asleep; }));
    ASSERT_TRUE(until([this] { return velu->animator.state == HeadState::Listening; }));
    EXPECT_EQ(velu->bubble.status, "Listening...");
    ASSERT_TRUE(until([this] { return velu->conversation.thinking; }));
    EXPECT_EQ(velu->bubble.status, "Heard: what time is it?");
    ASSERT_TRUE(until([this] { return isQuiet() && shows("The sun is shining today."); }));
    // It has heard itself speak, and took no notice.
    pause(2500);
    EXPECT_EQ(questionsHeard(), 1U);
    const std::string log = contentOf("velu.log");
    EXPECT_NE(log.find("heard: 'Velu, what time is it?'"), std::string::npos) << log;
    EXPECT_NE(log.find(", name -"), std::string::npos) << log;
    EXPECT_EQ(log.find("wake word heard"), log.rfind("wake word heard")) << log;
    const std::vector<double> loudness = sound.loudness();
    EXPECT_GT(std::count_if(loudness.begin(), loudness.end(), [](double l) { return l > 0.01; }), 100);
}

TEST_F(HearingSession, TheBareNameIsAnsweredAndWaitedUpon) {
    startListening();
    call("velu", saysOnlyName);
    ASSERT_TRUE(until([this] { return shows("Yes?"); }));
    ASSERT_TRUE(until([this] { return velu->ears.capturing.load(); }));
    EXPECT_EQ(velu->bubble.status, "Listening...");
    answer(answers);
    ASSERT_TRUE(until([this] { return velu->conversation.thinking; }));
    EXPECT_EQ(velu->bubble.status, "Heard: how are you");
    ASSERT_TRUE(until([this] { return isQuiet() && shows("I am fine"); }));
    pause(1000);

    // And when nothing follows, that is all right.
    call("velu", saysOnlyName);
    ASSERT_TRUE(until([this] { return shows("Yes?"); }));
    ASSERT_TRUE(until([this] { return velu->ears.capturing.load(); }));
    const uint64_t begin = tickCount();
    ASSERT_TRUE(until([this] { return !velu->bubble.isVisible(); }));
    EXPECT_GE(tickCount() - begin, 5500U);
    EXPECT_FALSE(velu->ears.capturing);
    EXPECT_EQ(questionsHeard(), 3U);
}

TEST_F(HearingSession, AReminderOrTheSwitchedOffMicrophoneEndsTheListening) {
    startListening();
    velu->ears.followUpRequested = true;
    ASSERT_TRUE(until([this] { return velu->ears.capturing.load(); }));
    velu->assistant.timers.push_back({tickCount(), "turn off the oven"});
    ASSERT_TRUE(until([this] { return shows("Reminder: turn off the oven"); }));
    ASSERT_TRUE(until([this] { return !velu->ears.capturing; }));
    ASSERT_TRUE(until([this] { return isQuiet(); }));
    EXPECT_EQ(questionsHeard(), 0U);

    pause(1000);
    call("velu, what time is it", asksForTime);
    ASSERT_TRUE(until([this] { return velu->bubble.status == "Listening..."; }));
    carryOut(*velu, MenuCommand::listen);
    EXPECT_FALSE(velu->ears.running);
    EXPECT_FALSE(velu->bubble.isVisible()) << "nobody listens any more";
    answer(answers);
    pause(1500);
    EXPECT_EQ(questionsHeard(), 0U);
    // It ends in the middle of a transcription, too.
    velu->speech.stop();
    installFakeSpeechEngine(joinPath(dataFolder(), "whisper"), R"({"delayMs": 60000})");
    carryOut(*velu, MenuCommand::listen);
    ASSERT_TRUE(until([this] { return velu->ears.running.load(); }));
    call("velu, what time is it", asksForTime);
    ASSERT_TRUE(until([this] { return !velu->ears.capturing; }));
    pause(300);
    const uint64_t begin = tickCount();
    shutDownCompanion(*velu);
    EXPECT_LT(tickCount() - begin, 2000U);
    velu = std::make_unique<Companion>();
}

TEST_F(HearingSession, MicrophonesComeAndGo) {
    startListening();
    sound.addMicrophone("second", "Desk microphone");
    // In the settings window: the last but one of its lists, and its second entry behind the default.
    carryOut(*velu, MenuCommand::settings);
    ASSERT_TRUE(
        until([this] { return desktop.findWindow("Velu Settings", getpid()) == desktop.activeWindow(); }));
    for (int control = 0; control < 10; ++control)
        desktop.act("key Tab");
    desktop.act("key Down");
    desktop.act("key Down");
    desktop.act("key Return");
    ASSERT_TRUE(until([this] { return !velu->settingsWindow.isOpen(); }));
    EXPECT_EQ(Settings::instance().micDevice.get(), "Desk microphone");
    ASSERT_TRUE(until([] {
        const std::string log = contentOf("velu.log");
        const size_t opened = log.find("opening microphone: Desk microphone");
        return opened != std::string::npos && log.find("capture started", opened) != std::string::npos;
    }));
    call("velu, what time is it", asksForTime);
    ASSERT_TRUE(until([this] { return isQuiet() && shows("The sun is shining today."); }));

    sound.removeMicrophone("second");
    ASSERT_TRUE(until([this] { return shows("I couldn't find a microphone."); }, milliseconds(20000)));
    EXPECT_FALSE(velu->ears.running);
    // Off and on is the way back; without the chosen one it is the default one.
    const auto switchOffAndOn = [this] {
        carryOut(*velu, MenuCommand::listen);
        carryOut(*velu, MenuCommand::listen);
    };
    switchOffAndOn();
    ASSERT_TRUE(until([this] { return velu->ears.running.load(); }));
    ASSERT_TRUE(until([this] { return !velu->bubble.isVisible(); }));
    pause(500);
    sound.stop();
    ASSERT_TRUE(until([this] { return !velu->ears.running && velu->bubble.isVisible(); }));
    EXPECT_TRUE(shows("I couldn't find a microphone.")) << velu->bubble.text;
    sound.start();
    switchOffAndOn();
    ASSERT_TRUE(until([this] { return velu->ears.running.load(); }));
    call("velu, what time is it", asksForTime);
}

}  // namespace
