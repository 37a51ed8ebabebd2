// The run modes of the hearing, with a real sound server and the stand-in for speech recognition.

#include <algorithm>
#include <regex>

#include "core/modes/MicCaptureMode.h"
#include "core/modes/WavTestMode.h"
#include "hearing/Recording.h"
#include "support/HeadlessCompanion.h"
#include "support/SoundServer.h"
#include "support/Speech.h"
#include "support/TestData.h"

namespace {

using MicCaptureMode = HeadlessCompanion;
using WavTestMode = HeadlessCompanion;

TEST_F(MicCaptureMode, RecordsWhatIsPlayed) {
    const struct {
        const char* arguments;
        const char* path;
        int32_t seconds;
        const char* device;
    } cases[] = {{"\"/tmp/a b.wav\" 5", "/tmp/a b.wav", 5, ""},
                 {"a.wav 12 --dev USB", "a.wav", 12, "USB"},
                 {"\"a.wav\"3", "a.wav", 3, ""},
                 {"\"a b\" 7 --dev \"Desk mic\"", "a b", 7, "Desk mic"},
                 {"", "", 0, ""},
                 {"\"a.wav\" soon", "a.wav", 0, ""}};
    for (const auto& [arguments, path, seconds, device] : cases) {
        const MicCaptureOrder order = micCaptureOrder(arguments);
        EXPECT_EQ(order.path, path) << arguments;
        EXPECT_EQ(order.seconds, seconds) << arguments;
        EXPECT_EQ(order.device, device) << arguments;
    }
    SoundServer room;
    const auto playing = room.playToRoom(tone(700, 30));
    ASSERT_EQ(runMicCaptureMode(velu, {joinPath(dataFolder(), "a b.wav"), 2, "Room"}), 0);
    Recording recording;
    ASSERT_EQ(readRecording(dataText("a b.wav"), recording), RecordingError::none);
    EXPECT_EQ(recording.mismatch, "");
    std::vector<int16_t>& samples = recording.samples;
    ASSERT_TRUE(samples.size() > 16000 && samples.size() <= 3U * 16000) << samples.size();
    // The tone's wave rises through zero 700 times a second.
    samples.erase(samples.begin(), samples.end() - 8000);
    int rises = 0;
    for (size_t at = 1; at < samples.size(); ++at)
        rises += samples[at - 1] < 0 && samples[at] >= 0 ? 1 : 0;
    EXPECT_NEAR(rises, 350, 2);
    EXPECT_NE(dataText("velu.log").find("opening microphone: Room\n"), std::string::npos);
    EXPECT_EQ(runMicCaptureMode(velu, {"/nowhere/a.wav", 0, ""}), 1);
    EXPECT_EQ(runMicCaptureMode(velu, {"", 1, ""}), 2);
}

TEST_F(WavTestMode, FollowsEachRecordingToItsCommandAndTellsWhatIsWrong) {
    EXPECT_EQ(wavTestOrder("\"/tmp/a b.wav\"   --followup").path, "/tmp/a b.wav");
    EXPECT_FALSE(wavTestOrder("a.wav").followUp);
    installFakeSpeechEngine(joinPath(dataFolder(), "whisper"),
                            R"({"tones": {"400": " Velu, what time is it?", "1000": " Velu.",
                                          "2500": " Could you please tell me Velu, what the time is?",
                                          "4000": " In half an hour."}})");
    placeModel(joinPath(modelsFolder(), "ggml-base.en.bin"), 140566000);
    const std::string path = joinPath(dataFolder(), "a b.wav");
    const auto linesFor = [&](const std::string& bytes, int expectedCode, bool followUp = false) {
        writeWholeFile(path, bytes);
        EXPECT_EQ(runWavTestMode(velu, {path, followUp}), expectedCode);
        const std::regex length("utterance (1[5-9]|[2-5][0-9])[0-9]{2}ms");
        return std::regex_replace(dataText("ask-output.txt"), length, "utterance #ms");
    };
    const std::string wake = "[wake]\n[utterance #ms followUp=0]\n";
    const std::tuple<const char*, double, std::string> cases[] = {
        {"velu, what time is it", 400, wake + "[heard] Velu, what time is it?\n[command] what time is it?\n"},
        {"velu", 1000, wake + "[heard] Velu.\n[command] \n"},
        {"could you please tell me, velu, what the time is", 2500,
         wake + "[heard] Could you please tell me Velu, what the time is?\n"
                "[command] (no wake word - would be ignored)\n"},
        {"the value of the valley is below what we knew. a fellow in yellow said hello to a bell.", 0, ""}};
    for (const auto& [words, hertz, lines] : cases)
        EXPECT_EQ(linesFor(buildWav(joined({speech(words), tone(hertz)})), 0), lines + "[done]\n") << words;
    EXPECT_EQ(linesFor(buildWav(joined({speech("in half an hour"), tone(4000)})), 0, true),
              "[utterance #ms followUp=1]\n[heard] In half an hour.\n[command] In half an hour.\n[done]\n");

    EXPECT_EQ(linesFor(std::string(43, 'x'), 1), "[error] cannot read wav\n");
    EXPECT_EQ(linesFor(std::string(44, 'x'), 1), "[error] no data chunk\n");
    std::string stereo = buildWav({});
    stereo[22] = 2;
    EXPECT_EQ(linesFor(stereo, 0), "[done]\n");
    EXPECT_NE(dataText("velu.log").find("2 channel(s)"), std::string::npos);
    velu.bringUp.wakeModel = dataFolder();
    EXPECT_EQ(linesFor("", 1), "[error] vosk model\n");
    velu.speech.stop();
    removeFile(joinPath(joinPath(dataFolder(), "whisper"), "whisper-server"));
    EXPECT_EQ(linesFor("", 1),
              "[status] Finding the speech engine...\n[status] Couldn't reach GitHub for the speech "
              "engine.\n[error] stt\n");
}

}  // namespace
