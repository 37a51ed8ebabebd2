// The run modes of the hearing, with a real sound server and the stand-in for speech recognition.

#include <gtest/gtest.h>

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

TEST_F(MicCaptureMode, ReadsItsOrder) {
    const struct {
        const char* arguments;
        const char* path;
        int32_t seconds;
        const char* device;
    } cases[] = {
        {"\"/tmp/a b.wav\" 5", "/tmp/a b.wav", 5, ""},
        {"a.wav 12 --dev USB", "a.wav", 12, "USB"},
        {"\"a.wav\"3", "a.wav", 3, ""},
        {"\"a b\" 7 --dev \"Desk mic\"", "a b", 7, "Desk mic"},
        {"a.wav", "a.wav", 0, ""},
        {"", "", 0, ""},
        {"\"a.wav\" soon", "a.wav", 0, ""},
    };
    for (const auto& [arguments, path, seconds, device] : cases) {
        const MicCaptureOrder order = micCaptureOrder(arguments);
        EXPECT_EQ(order.path, path) << arguments;
        EXPECT_EQ(order.seconds, seconds) << arguments;
        EXPECT_EQ(order.device, device) << arguments;
    }
    EXPECT_EQ(wavTestOrder("\"/tmp/a b.wav\"   --followup").path, "/tmp/a b.wav");
    EXPECT_TRUE(wavTestOrder("a.wav --followup").followUp);
    EXPECT_FALSE(wavTestOrder("a.wav").followUp);
}

class WavTestMode : public HeadlessCompanion {
protected:
    std::string linesFor(const WavTestOrder& order, int expectedCode = 0) {
        EXPECT_EQ(runWavTestMode(velu, order), expectedCode);
        return dataText("ask-output.txt");
    }
};

TEST_F(MicCaptureMode, RecordsWhatIsPlayed) {
    SoundServer room;
    const auto playing = room.playToRoom(tone(700, 30));
    ASSERT_EQ(runMicCaptureMode(velu, {joinPath(dataFolder(), "a b.wav"), 2, "Room"}), 0);
    Recording recording;
    ASSERT_EQ(readRecording(dataText("a b.wav"), recording), RecordingError::none);
    EXPECT_EQ(recording.mismatch, "");
    std::vector<int16_t>& samples = recording.samples;
    ASSERT_GT(samples.size(), 16000U);
    EXPECT_LE(samples.size(), 3U * 16000);
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
    installFakeSpeechEngine(joinPath(dataFolder(), "whisper"),
                            R"({"tones": {"400": " Velu, what time is it?", "1000": " Velu.",
                                          "2500": " Could you please tell me Velu, what the time is?",
                                          "4000": " In half an hour."}})");
    placeModel(joinPath(modelsFolder(), "ggml-base.en.bin"), 140566000);
    const std::string folder = joinPath(dataFolder(), "recordings");
    TestProgram generator({"python3", MAKE_RECORDINGS, folder}, joinPath(dataFolder(), "generator.log"));
    ASSERT_EQ(generator.wait(), 0) << dataText("generator.log");
    const struct {
        const char* name;
        const char* lines;  ///< "#" stands for a number
        bool followUp = false;
    } cases[] = {
        {"one-breath",
         "[wake]\n[utterance #ms followUp=0]\n[heard] Velu, what time is it?\n[command] what time is it?\n"},
        {"name-alone", "[wake]\n[utterance #ms followUp=0]\n[heard] Velu.\n[command] \n"},
        {"name-sixth",
         "[wake]\n[utterance #ms followUp=0]\n[heard] Could you please tell me Velu, what the time is?\n"
         "[command] (no wake word - would be ignored)\n"},
        {"follow-up", "[utterance #ms followUp=1]\n[heard] In half an hour.\n[command] In half an hour.\n",
         true},
        {"near-sounds", ""},
        {"talk", ""},
    };
    for (const auto& [name, lines, followUp] : cases) {
        const std::string found = linesFor({joinPath(folder, std::string(name) + ".wav"), followUp});
        const std::regex length("utterance (1[5-9]|[2-5][0-9])[0-9]{2}ms");
        EXPECT_EQ(std::regex_replace(found, length, "utterance #ms"), std::string(lines) + "[done]\n")
            << name;
    }

    const std::string path = joinPath(dataFolder(), "odd.wav");
    writeWholeFile(path, std::string(43, 'x'));
    EXPECT_EQ(linesFor({path}, 1), "[error] cannot read wav\n");
    EXPECT_EQ(linesFor({path + "x"}, 1), "[error] cannot read wav\n");
    writeWholeFile(path, std::string(44, 'x'));
    EXPECT_EQ(linesFor({path}, 1), "[error] no data chunk\n");
    std::string stereo = buildWav({});
    stereo[22] = 2;
    writeWholeFile(path, stereo);
    EXPECT_EQ(linesFor({path}), "[done]\n");
    EXPECT_NE(dataText("velu.log").find("2 channel(s)"), std::string::npos);
    velu.bringUp.wakeModel = dataFolder();
    EXPECT_EQ(linesFor({path}, 1), "[error] vosk model\n");
    velu.speech.stop();
    removeFile(joinPath(joinPath(dataFolder(), "whisper"), "whisper-server"));
    EXPECT_EQ(linesFor({path}, 1),
              "[status] Finding the speech engine...\n[status] Couldn't reach GitHub for the speech "
              "engine.\n[error] stt\n");
}

}  // namespace
