// The companion spoken to: what is played into the room reaches its microphone, and its own voice does, too.

#include "desktop/Session.h"
#include "foundation/Ticks.h"
#include "support/Speech.h"

namespace {

// What the stand-in for speech recognition makes of a tone behind the words.
constexpr double asksForTime = 400;
constexpr double answers = 2500;
constexpr const char* speechScript =
    R"({"tones": {"400": " Velu, what time is it?\n", "1000": " Velu.\n", "2500": " how are you\n"}})";

class HearingSession : public Session {
protected:
    HearingSession() {
        settings.micOn = true;
        installFakeSpeechEngine(joinPath(dataFolder(), "whisper"), speechScript);
        placeModel(joinPath(modelsFolder(), "ggml-base.en.bin"), 140566000);
    }

    void startListening() {
        // Its own voice is in the room, too.
        sound.control({"load-module", "module-loopback", "source=speaker.monitor", "sink=room"});
        startReady();
        ASSERT_TRUE(until([this] { return velu->ears.running && !velu->bringUp.earsStarting; }));
        ASSERT_TRUE(until([] { return dataText("velu.log").find("capture started") != std::string::npos; }));
    }

    /// Says the name, and behind it a tone that tells what is asked. When it isn't heard somebody else does.
    void call(const std::string& words, double hertz) {
        for (const char* voice : {"rms", "slt", "awb", "kal16", "rms", "slt"}) {
            playing = sound.playToRoom(joined({speech(words, voice), silence(0.15), tone(hertz)}));
            if (until([this] { return velu->ears.capturing.load(); }, std::chrono::seconds(6))) return;
        }
        FAIL() << "it doesn't listen to its name";
    }

    /// Has it listen without its name, as after "Yes?".
    void listen() {
        velu->ears.followUpRequested = true;
        ASSERT_TRUE(until([this] { return velu->ears.capturing.load(); }));
    }

    void answer(double hertz) {
        playing = sound.playToRoom(joined({speech("very well then", "rms"), tone(hertz)}));
        ASSERT_TRUE(until([&] { return playing->result().has_value(); }));
    }

    static int64_t questionsHeard() {
        const std::string requests = dataText("whisper/requests.jsonl");
        return std::count(requests.begin(), requests.end(), '\n');
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
    runFor(1500);
    EXPECT_EQ(questionsHeard(), 1);
    const std::string log = dataText("velu.log");
    EXPECT_NE(log.find("heard: 'Velu, what time is it?'"), std::string::npos) << log;
    EXPECT_NE(log.find(", name -"), std::string::npos) << log;
    EXPECT_EQ(log.find("wake word heard"), log.rfind("wake word heard")) << log;
    EXPECT_GT(loudTime(), 100);

    // The bare name is answered and waited upon.
    velu->windowProc(Utterance{1, false, "Velu.", {}});
    EXPECT_TRUE(shows("Yes?"));
    ASSERT_TRUE(until([this] { return velu->ears.capturing.load(); }));
    EXPECT_EQ(velu->bubble.status, "Listening...");
    answer(answers);
    ASSERT_TRUE(until([this] { return velu->conversation.thinking; }));
    EXPECT_EQ(velu->bubble.status, "Heard: how are you");
    // A reminder breaks off what is being heard, and so does the end, in the middle of a transcription.
    ASSERT_TRUE(until([this] { return !velu->conversation.thinking; }));
    velu->conversation.stopSpeaking();
    ASSERT_TRUE(until([this] { return !velu->ears.muted; }));
    listen();
    velu->assistant.timers.push_back({tickCount(), "turn off the oven"});
    ASSERT_TRUE(until([this] { return shows("Reminder: turn off the oven") && !velu->ears.capturing; }));
    // Its microphone goes, and comes back.
    velu->bubble.hide();
    sound.stop();
    ASSERT_TRUE(until([this] { return !velu->ears.running && shows("I couldn't find a microphone."); }));
    sound.start();
    velu->speech.stop();
    installFakeSpeechEngine(joinPath(dataFolder(), "whisper"), R"({"delayMs": 60000})");
    carryOut(*velu, MenuCommand::listen);
    EXPECT_FALSE(velu->ears.running);
    carryOut(*velu, MenuCommand::listen);
    velu->conversation.stopSpeaking();
    ASSERT_TRUE(until([this] { return velu->ears.running && !velu->ears.muted; }));
    listen();
    answer(answers);
    ASSERT_TRUE(until([this] { return !velu->ears.capturing; }));
    const uint64_t begin = tickCount();
    shutDownCompanion(*velu);
    EXPECT_LT(tickCount() - begin, 2000U);
}

}  // namespace
