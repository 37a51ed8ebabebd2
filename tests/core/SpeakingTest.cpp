#include "core/Speaking.h"

#include <gtest/gtest.h>

namespace {

TEST(Speaking, TextsWithoutAVoiceTakeTheirTime) {
    Speaking speaking;
    speaking.saySilently(4, 1000);  // "Yes?"
    EXPECT_EQ(speaking.silentSpeechUntil, 1220U);
    speaking.appendSilently(10, 1100);
    EXPECT_EQ(speaking.silentSpeechUntil, 1770U);
    speaking.appendSilently(2, 5000);
    EXPECT_EQ(speaking.silentSpeechUntil, 5110U);
    speaking.saySilently(1, 5000);
    EXPECT_EQ(speaking.silentSpeechUntil, 5055U);
}

TEST(Speaking, TheMicrophoneStaysShutForAMomentAfterTheLastSound) {
    const struct {
        uint64_t now;
        int32_t pending;
        bool speaks;
        bool muted;
    } frames[] = {
        {1000, 0, false, false}, {1030, 2, true, true},   {9000, 1, true, true},   {9030, 0, false, true},
        {9799, 0, false, true},  {9800, 0, false, false}, {9900, 0, false, false},
    };
    Speaking speaking;
    for (const auto& frame : frames) {
        speaking.updateMute(frame.pending, frame.now);
        EXPECT_EQ(speaking.isSpeaking(frame.pending, frame.now), frame.speaks) << frame.now;
        EXPECT_EQ(speaking.isMuted(frame.now), frame.muted) << frame.now;
    }
    speaking.saySilently(10, 20000);
    speaking.updateMute(0, 20549);
    EXPECT_TRUE(speaking.isMuted(21348));
    speaking.updateMute(0, 20550);
    EXPECT_FALSE(speaking.isMuted(21349));
}

}  // namespace
