#include "core/Speaking.h"

#include <gtest/gtest.h>

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
        bool speaks, muted;
    } frames[] = {{1000, 0, false, false}, {1030, 1, true, true},   {9000, 1, true, true},
                  {9799, 0, false, true},  {9800, 0, false, false}, {20549, 0, true, true},
                  {21348, 0, false, true}, {21349, 0, false, false}};
    Speaking speaking;
    for (const auto& frame : frames) {
        if (frame.now == 20549) speaking.saySilently(10, 20000);
        speaking.updateMute(frame.pending, frame.now);
        EXPECT_EQ(speaking.isSpeaking(frame.pending, frame.now), frame.speaks) << frame.now;
        EXPECT_EQ(speaking.isMuted(frame.now), frame.muted) << frame.now;
    }
}
