// The run modes of the hearing, with a real sound server and the stand-in for speech recognition.

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>
#include <thread>
#include <vector>

#include "core/Companion.h"
#include "core/modes/MicCaptureMode.h"
#include "core/modes/WavTestMode.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "hearing/Recording.h"
#include "support/EngineFolder.h"
#include "support/SoundServer.h"
#include "support/Speech.h"

namespace {

std::string contentOf(const std::string& name) {
    std::string text;
    EXPECT_TRUE(readWholeFile(joinPath(dataFolder(), name), text));
    return text;
}

TEST(MicCaptureMode, ReadsItsOrder) {
    struct Case {
        const char* arguments;
        const char* path;
        int32_t seconds;
        const char* device;
    };
    for (const auto& [arguments, path, seconds, device] :
         {Case{"\"/tmp/a b.wav\" 5", "/tmp/a b.wav", 5, ""}, Case{"a.wav 12 --dev USB", "a.wav", 12, "USB"},
          Case{"\"a.wav\"3", "a.wav", 3, ""}, Case{"\"a b\" 7 --dev \"Desk mic\"", "a b", 7, "Desk mic"},
          Case{"a.wav", "a.wav", 0, ""}, Case{"", "", 0, ""}, Case{"\"a.wav\" soon", "a.wav", 0, ""}}) {
        const MicCaptureOrder order = micCaptureOrder(arguments);
        EXPECT_EQ(order.path, path) << arguments;
        EXPECT_EQ(order.seconds, seconds) << arguments;
        EXPECT_EQ(order.device, device) << arguments;
    }
    EXPECT_EQ(wavTestOrder("\"/tmp/a b.wav\"   --followup").path, "/tmp/a b.wav");
    EXPECT_TRUE(wavTestOrder("a.wav --followup").followUp);
    EXPECT_FALSE(wavTestOrder("a.wav").followUp);
}

/// How much of the sound's power is a tone of this frequency, 0 to 1.
double shareOf(double hertz, const std::vector<int16_t>& samples) {
    double sine = 0;
    double cosine = 0;
    double power = 0;
    for (size_t at = 0; at < samples.size(); ++at) {
        const double angle = 2 * std::numbers::pi * hertz * static_cast<double>(at) / 16000;
        sine += samples[at] * std::sin(angle);
        cosine += samples[at] * std::cos(angle);
        power += static_cast<double>(samples[at]) * samples[at];
    }
    return power == 0 ? 0 : 2 * (sine * sine + cosine * cosine) / power / static_cast<double>(samples.size());
}

TEST(MicCaptureMode, RecordsWhatIsPlayed) {
    SoundServer room;
    Companion companion;
    const auto playing = room.playToRoom(tone(700, 30));
    const MicCaptureOrder order{joinPath(dataFolder(), "a b.wav"), 3, "Room"};
    ASSERT_EQ(runMicCaptureMode(companion, order), 0);
    Recording recording;
    ASSERT_EQ(readRecording(contentOf("a b.wav"), recording), RecordingError::none);
    EXPECT_EQ(recording.mismatch, "");
    EXPECT_GT(recording.samples.size(), 2U * 16000);
    EXPECT_LE(recording.samples.size(), 4U * 16000);
    const std::vector<int16_t> second(recording.samples.end() - 16000, recording.samples.end());
    EXPECT_GT(shareOf(700, second), 0.95);
    EXPECT_LT(shareOf(730, second), 0.05);
    EXPECT_NE(contentOf("velu.log").find("opening microphone: Room\n"), std::string::npos);

    EXPECT_EQ(runMicCaptureMode(companion, {"/nowhere/a.wav", 0, ""}), 1);
    EXPECT_EQ(runMicCaptureMode(companion, {"", 1, ""}), 2);
}

class WavTestMode : public testing::Test {
protected:
    WavTestMode() {
        installFakeSpeechEngine(joinPath(dataFolder(), "whisper"),
                                R"({"tones": {"400": " Velu, what time is it?", "1000": " Velu.",
                                              "2500": " Could you please tell me Velu, what the time is?",
                                              "4000": " In half an hour."}})");
        placeModel(joinPath(modelsFolder(), "ggml-base.en.bin"), 140566000);
        companion.speech.port = freePort();
        companion.speech.probeCuda = [] { return false; };
    }

    std::string linesFor(const WavTestOrder& order, int expectedCode = 0) {
        EXPECT_EQ(runWavTestMode(companion, order), expectedCode);
        return contentOf("ask-output.txt");
    }

    Companion companion{Endpoints{"http://127.0.0.1:1", "http://127.0.0.1:1", "", "", "", "", ""}};
};

TEST_F(WavTestMode, FollowsEachRecordingToItsCommand) {
    const std::string folder = joinPath(dataFolder(), "recordings");
    TestProgram generator({"python3", MAKE_RECORDINGS, folder}, joinPath(dataFolder(), "generator.log"));
    ASSERT_EQ(generator.wait(), 0) << contentOf("generator.log");
    struct Case {
        const char* name;
        const char* lines;  ///< "#" stands for a number
        bool followUp = false;
    };
    for (const auto& [name, lines, followUp] :
         {Case{"one-breath",
               "[wake]\n[utterance #ms followUp=0]\n[heard] Velu, what time is it?\n[command] what "
               "time is it?\n[done]\n"},
          Case{"name-alone", "[wake]\n[utterance #ms followUp=0]\n[heard] Velu.\n[command] \n[done]\n"},
          Case{"name-sixth",
               "[wake]\n[utterance #ms followUp=0]\n[heard] Could you please tell me Velu, what the time "
               "is?\n[command] (no wake word - would be ignored)\n[done]\n"},
          Case{"follow-up",
               "[utterance #ms followUp=1]\n[heard] In half an hour.\n[command] In half an hour.\n[done]\n",
               true},
          Case{"near-sounds", "[done]\n"}, Case{"talk", "[done]\n"}, Case{"noise", "[done]\n"}}) {
        std::string found = linesFor({joinPath(folder, std::string(name) + ".wav"), followUp});
        const size_t number = found.find("[utterance ");
        if (number != std::string::npos) {
            const size_t begin = number + 11;
            const int length = std::stoi(found.substr(begin));
            EXPECT_TRUE(length > 1500 && length < 6000) << length;
            found.replace(begin, found.find("ms", begin) - begin, "#");
        }
        EXPECT_EQ(found, lines) << name;
    }
}

TEST_F(WavTestMode, TellsWhatIsWrong) {
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
    EXPECT_NE(contentOf("velu.log").find("2 channel(s)"), std::string::npos);
    companion.bringUp.wakeModel = dataFolder();
    EXPECT_EQ(linesFor({path}, 1), "[error] vosk model\n");
    companion.speech.stop();
    removeFile(joinPath(joinPath(dataFolder(), "whisper"), "whisper-server"));
    EXPECT_EQ(linesFor({path}, 1),
              "[status] Finding the speech engine...\n[status] Couldn't reach GitHub for the speech "
              "engine.\n[error] "
              "stt\n");
}

}  // namespace
