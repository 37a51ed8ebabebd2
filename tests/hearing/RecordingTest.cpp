#include "hearing/Recording.h"

#include <gtest/gtest.h>

#include "hearing/Transcription.h"

namespace {

TEST(Recording, ReadsWhatLiesBehindData) {
    const std::vector<int16_t> samples = {0, 1, -2, 32767, -32768};
    const std::string wav = buildWav(samples);
    // A further chunk ahead of the samples, half a sample behind them, and another format.
    std::string odd = wav;
    odd.insert(36, std::string("LIST\4\0\0\0abcd", 12));
    odd += '\7';
    odd[22] = 2;
    odd.replace(24, 4, std::string("\x44\xAC\0\0", 4));
    const std::string noise(40, 'x');
    const struct {
        std::string bytes;
        RecordingError error;
        std::vector<int16_t> samples;
        std::string mismatch;
    } cases[] = {{wav, RecordingError::none, samples, ""},
                 {odd, RecordingError::none, samples, "coding 1, 2 channel(s), 44100 Hz, 16 bits"},
                 {noise + "data1234\1\2", RecordingError::none, {0x0201}, ""},
                 {noise + "data12", RecordingError::none, {}, ""},
                 {wav.substr(0, 43), RecordingError::tooShort, {}, ""},
                 {wav.substr(0, 44), RecordingError::none, {}, ""},
                 {noise + noise, RecordingError::noData, {}, ""}};
    for (const auto& item : cases) {
        Recording recording;
        EXPECT_EQ(readRecording(item.bytes, recording), item.error) << item.bytes;
        EXPECT_EQ(recording.samples, item.samples);
        EXPECT_EQ(recording.mismatch, item.mismatch);
    }
}

}  // namespace
