#include "core/FramePacer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>

namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

nanoseconds waitAfter(FramePacer& pacer, nanoseconds now) {
    return pacer.waitAfterFrame(FramePacer::Clock::time_point(now));
}

TEST(FramePacer, ItTakesHalfTheRateOfADisplayThatCanBe) {
    const std::pair<double, int64_t> cases[] = {
        {60, 33'333'333},           {59.94, 33'366'700}, {20, 100'000'000},
        {120, 16'666'667},          {1000, 16'666'667},  {0, 33'333'333},
        {std::nan(""), 33'333'333}, {19.9, 33'333'333},  {1000.1, 33'333'333}};
    EXPECT_EQ(FramePacer().interval, nanoseconds(33'333'333));
    for (const auto& [rate, interval] : cases) {
        FramePacer pacer;
        pacer.setRefreshRate(75);
        pacer.setRefreshRate(rate);
        EXPECT_EQ(pacer.interval, nanoseconds(interval)) << rate;
    }
}

// The display shows a frame at every second blank, and the swap waits for that.
TEST(FramePacer, ADisplayThatTakesThePaceIsNeverKeptWaiting) {
    const std::pair<double, double> toldAndActual[] = {{60, 59.94}, {59.94, 60}, {0, 60}, {120, 119.88}};
    for (const auto& [told, actual] : toldAndActual) {
        FramePacer pacer;
        pacer.setRefreshRate(told);
        const double blank = 1e9 / actual;
        double now = 0;
        for (int64_t shown = 2; shown < 40'000; shown += 2) {
            ASSERT_LE(now + 3e6, static_cast<double>(shown) * blank) << shown << " at " << actual;
            // The swap returns a little late, and never by the same amount.
            now = static_cast<double>(shown) * blank + static_cast<double>(shown % 7) * 1e5;
            now += static_cast<double>(waitAfter(pacer, nanoseconds(std::llround(now))).count());
        }
    }
}

TEST(FramePacer, WaitsForTheGridButNeverLong) {
    // After frames that were shown at these times, in milliseconds.
    const std::pair<int64_t, int64_t> steps[] = {{0, 0},      {3, 17},      {23, 17},
                                                 {10'000, 0}, {10'003, 17}, {10'023, 17}};
    FramePacer pacer;
    pacer.setRefreshRate(100);
    for (const auto& [now, wait] : steps)
        EXPECT_EQ(waitAfter(pacer, milliseconds(now)), milliseconds(wait)) << now;
    pacer.setRefreshRate(50);  // counts from the next wait
    EXPECT_EQ(waitAfter(pacer, milliseconds(10'043)), milliseconds(37));
    for (int32_t frame = 10'044; frame < 11'000; ++frame)
        EXPECT_LE(waitAfter(pacer, milliseconds(frame)), 2 * pacer.interval);
}

TEST(FramePacer, NoFrameIsShorterThanASixtiethOfASecondAndTheAverageHoldsDespiteLateWakes) {
    FramePacer pacer;
    pacer.setRefreshRate(240);
    nanoseconds now = waitAfter(pacer, nanoseconds(0));
    for (int32_t frame = 0; frame < 1000; ++frame) {
        now += milliseconds(1);
        now += waitAfter(pacer, now);
        if (frame % 10 == 0) now += milliseconds(5);
    }
    EXPECT_EQ(now, 1000 * nanoseconds(16'666'667));
}

}  // namespace
