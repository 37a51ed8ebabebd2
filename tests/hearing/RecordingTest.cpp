#include "hearing/Recording.h"

#include <gtest/gtest.h>

#include "hearing/Transcription.h"

namespace {

TEST(Recording, ReadsWhatLiesBehindData) {
    const std::vector<int16_t> samples = {0, 1, -2, 32767, -32768};
    const std::string wav = buildWav(samples);
    Recording recording;
    ASSERT_EQ(readRecording(wav, recording), RecordingError::none);
    EXPECT_EQ(recording.samples, samples);
    EXPECT_EQ(recording.mismatch, "");

    // A further chunk ahead of them, half a sample behind them, and another format.
    std::string odd = wav;
    odd.insert(36, std::string("LIST\4\0\0\0abcd", 12));
    odd += '\7';
    odd[22] = 2;
    odd.replace(24, 4, std::string("\x44\xAC\0\0", 4));
    ASSERT_EQ(readRecording(odd, recording), RecordingError::none);
    EXPECT_EQ(recording.samples, samples);
    EXPECT_EQ(recording.mismatch, "coding 1, 2 channel(s), 44100 Hz, 16 bits");

    const std::string raw = std::string(40, 'x') + "data1234\1\2";
    ASSERT_EQ(readRecording(raw, recording), RecordingError::none);
    EXPECT_EQ(recording.samples, std::vector<int16_t>{0x0201});
    ASSERT_EQ(readRecording(std::string(40, 'x') + "data12", recording), RecordingError::none);
    EXPECT_TRUE(recording.samples.empty());
    EXPECT_EQ(readRecording(wav.substr(0, 43), recording), RecordingError::tooShort);
    EXPECT_EQ(readRecording(std::string(100, 'x'), recording), RecordingError::noData);
}

}  // namespace
