#include "core/TurnTimes.h"

#include <gtest/gtest.h>

TEST(TurnTimes, TellWhatCameWhenAndWhatDidNot) {
    EXPECT_EQ(turnLine({1000, 1400, 1450, 1490, 3000}, "10:20:30"),
              "turn: question 10:20:30, first token +400 ms, first sentence +450 ms, first sound +490 ms, "
              "done +2000 ms");
    EXPECT_EQ(
        turnLine({9000, 0, 0, 0, 0, {6000, 8000, 8990}}, "10:20:30"),
        "turn: question 10:20:30, name -3000 ms, end of speech -1000 ms, transcript -10 ms, first token "
        "none, first sentence none, first sound none, done never (cut off)");
}
