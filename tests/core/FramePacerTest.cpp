#include "core/FramePacer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;

constexpr nanoseconds sixtieth{16'666'667};

nanoseconds waitAfter(FramePacer& pacer, nanoseconds now) {
    return pacer.waitAfterFrame(FramePacer::Clock::time_point(now));
}

TEST(FramePacer, ItTakesHalfTheRateOfADisplayThatCanBe) {
    const std::pair<double, int64_t> cases[] = {
        {60, 33'333'333},
        {59.94, 33'366'700},
        {30, 66'666'667},
        {100, 20'000'000},
        {120, 16'666'667},
        {144, 16'666'667},
        {0, 33'333'333},
        {-60, 33'333'333},
        {std::nan(""), 33'333'333},
        {std::numeric_limits<double>::infinity(), 33'333'333},
        {1e-9, 33'333'333},
        {60'000, 33'333'333},
    };
    EXPECT_EQ(FramePacer().interval, nanoseconds(33'333'333));
    for (const auto& [rate, interval] : cases) {
        FramePacer pacer;
        pacer.setRefreshRate(75);
        pacer.setRefreshRate(rate);
        EXPECT_EQ(pacer.interval, nanoseconds(interval)) << rate;
    }
}

// The display shows a frame at every second blank at the earliest, and the swap waits for that.
TEST(FramePacer, ADisplayThatTakesThePaceIsNeverKeptWaiting) {
    struct Case {
        double told, actual;
    };
    for (const auto& [told, actual] : {Case{60, 59.94}, {59.94, 60}, {0, 60}, {75, 75}, {120, 119.88}}) {
        FramePacer pacer;
        pacer.setRefreshRate(told);
        const double blank = 1e9 / actual;
        double now = 0;
        int64_t shown = 0;
        for (int32_t frame = 0; frame < 20'000; ++frame) {
            const double drawn = now + 3e6;
            const int64_t next = std::max(shown + 2, static_cast<int64_t>(std::ceil(drawn / blank)));
            ASSERT_EQ(next, shown + 2) << "frame " << frame << " at " << actual;
            shown = next;
            // The swap returns a little late, and never by the same amount.
            now = static_cast<double>(shown) * blank + frame % 7 * 1e5;
            now += static_cast<double>(waitAfter(pacer, nanoseconds(std::llround(now))).count());
        }
    }
}

TEST(FramePacer, WithoutABlockingSwapTheAverageHoldsDespiteLateWakes) {
    for (const double rate : {60.0, 144.0}) {
        FramePacer pacer;
        pacer.setRefreshRate(rate);
        nanoseconds now{0};
        waitAfter(pacer, now);
        for (int32_t frame = 0; frame < 1000; ++frame) {
            now += milliseconds(1);
            now += waitAfter(pacer, now);
            if (frame % 10 == 0) now += milliseconds(5);
        }
        EXPECT_NEAR(static_cast<double>(now.count()), static_cast<double>(1000 * pacer.interval.count()),
                    1e6);
    }
}

TEST(FramePacer, NoFrameIsShorterThanASixtiethOfASecond) {
    FramePacer pacer;
    pacer.setRefreshRate(240);
    waitAfter(pacer, nanoseconds(0));
    EXPECT_EQ(waitAfter(pacer, milliseconds(8)), sixtieth - milliseconds(8));
    EXPECT_EQ(waitAfter(pacer, sixtieth + milliseconds(16)), sixtieth - milliseconds(16));
    EXPECT_EQ(waitAfter(pacer, 2 * sixtieth + milliseconds(17)), nanoseconds(0));
}

TEST(FramePacer, AStallIsNotMadeUpFor) {
    FramePacer pacer;
    waitAfter(pacer, nanoseconds(0));
    EXPECT_EQ(waitAfter(pacer, milliseconds(3)), pacer.interval - milliseconds(3));
    EXPECT_EQ(waitAfter(pacer, seconds(10)), nanoseconds(0));
    EXPECT_EQ(waitAfter(pacer, seconds(10) + milliseconds(3)), pacer.interval - milliseconds(3));
    EXPECT_EQ(waitAfter(pacer, seconds(10) + pacer.interval + milliseconds(3)),
              pacer.interval - milliseconds(3));
}

TEST(FramePacer, ANewRateCountsFromTheNextWait) {
    FramePacer pacer;
    waitAfter(pacer, nanoseconds(0));
    pacer.setRefreshRate(100);
    EXPECT_EQ(waitAfter(pacer, milliseconds(3)), milliseconds(17));
    pacer.setRefreshRate(50);
    EXPECT_EQ(waitAfter(pacer, milliseconds(23)), milliseconds(37));
}

TEST(FramePacer, ACallerThatDoesNotWaitFindsNoLongWaitLater) {
    FramePacer pacer;
    for (int32_t frame = 0; frame < 1000; ++frame)
        EXPECT_LE(waitAfter(pacer, milliseconds(frame)), 2 * pacer.interval);
}

}  // namespace
