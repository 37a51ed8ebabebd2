#include "presence/HeadAnimator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>
#include <vector>

namespace {

constexpr double pi = std::numbers::pi;
constexpr float step = 1.0F / 30;  // approaches keep their rate over this time
constexpr float tolerance = 1e-4F;

// An animator with these random numbers, in this order; one more fails the test.
struct Scripted {
    std::vector<float> numbers;
    size_t drawn = 0;
    HeadAnimator head;

    explicit Scripted(std::vector<float> values, HeadState state = HeadState::Idle)
        : numbers(std::move(values)) {
        head.state = state;
        head.random = [this] {
            EXPECT_LT(drawn, numbers.size());
            return drawn < numbers.size() ? numbers[drawn++] : 0;
        };
    }
    void update(float dt, int32_t times) {
        for (int32_t i = 0; i < times; ++i)
            head.update(dt);
    }
};

TEST(HeadAnimator, TheFrameRateDoesNotChangeTheMotion) {
    for (const int32_t rate : {20, 30, 120}) {
        Scripted gazing({});
        gazing.head.watching = true;
        gazing.head.gazeX = 1;
        gazing.head.gazeY = -0.5F;
        gazing.update(1.0F / static_cast<float>(rate), rate);
        // 0.9^30 = 0.0423912 of the way is left, from 0 to 1 * 28 and from -4 to -0.5 * 12 - 4.
        EXPECT_NEAR(gazing.head.pose.yaw, 28 - 28 * 0.0423912, 1e-3);
        EXPECT_NEAR(gazing.head.pitchBase, -10 + 6 * 0.0423912, 1e-3);
    }
}

TEST(HeadAnimator, AWinkDipsTheEyesForHalfASecond) {
    struct Case {
        float seconds, factor;
        bool winking;
    };
    const Case cases[] = {{0, 1, true},     {0.075F, 0.5F, true}, {0.15F, 0, true},      {0.349F, 0, true},
                          {0.35F, 0, true}, {0.425F, 0.5F, true}, {0.497F, 0.98F, true}, {0.5F, 1, false}};
    for (const bool watching : {false, true}) {
        for (const Case& item : cases) {
            Scripted winking({});
            winking.head.watching = watching;
            winking.head.startWink();
            winking.head.update(item.seconds);
            EXPECT_NEAR(winking.head.pose.eyeGlow, (watching ? 0.25F : 0.12F) * item.factor, tolerance);
            EXPECT_EQ(winking.head.winking, item.winking) << item.seconds;
            winking.head.startWink();
            winking.head.update(0.075F);
            EXPECT_NEAR(winking.head.pose.eyeGlow, watching ? 0.125F : 0.06F, tolerance) << "restarted";
        }
    }
}

TEST(HeadAnimator, ASpinTurnsOnceAroundInAnyState) {
    for (const HeadState state : {HeadState::Idle, HeadState::Asleep, HeadState::Speaking}) {
        Scripted spinning({}, state);
        HeadAnimator& head = spinning.head;
        head.speechLevel = 0;
        head.pitchBase = 20;
        head.startSpin();
        spinning.update(0.1F, 6);  // 30 degrees each
        EXPECT_EQ(head.yawBase, 180);
        head.update(0.1F);
        EXPECT_NEAR(head.pose.yaw, -150, tolerance);
        spinning.update(0.1F, 5);
        EXPECT_NEAR(head.yawBase, 0, tolerance);
        EXPECT_EQ(head.spinLeft, 0);
        EXPECT_EQ(head.pitchBase, 20);
        EXPECT_EQ(head.idleClock, 0);
        head.update(step);
        EXPECT_NE(head.pitchBase, 20) << "the state's own motion is back";
    }
}

TEST(HeadAnimator, AnIdleHeadGlancesAroundNowAndThen) {
    Scripted idle({1, 0.2F, 0.5F, 0, 1, 0});
    HeadAnimator& head = idle.head;
    head.idleClock = 2.5 - 2 * step - 0.01;
    head.update(step);
    EXPECT_NEAR(head.pitchBase, -4, tolerance);
    head.update(step);
    EXPECT_EQ(idle.drawn, 0U);
    head.update(step);
    EXPECT_EQ(idle.drawn, 3U);
    EXPECT_NEAR(head.idlePitch, 0.5 * 3 - 4, tolerance);
    EXPECT_NEAR(head.idleYaw, -0.3 * 10, tolerance);
    EXPECT_NEAR(head.idleNext, head.idleClock + 1.5 + 0.5 * 4, tolerance);
    EXPECT_NEAR(head.pitchBase, -4 + 1.5 * 0.03, tolerance);
    EXPECT_NEAR(head.yawBase, -3 * 0.03, tolerance);
    idle.update(0.1F, 34);
    EXPECT_EQ(idle.drawn, 3U);
    head.update(0.2F);
    EXPECT_EQ(idle.drawn, 6U);
    EXPECT_NEAR(head.idlePitch, -5.5, tolerance);
    EXPECT_NEAR(head.idleYaw, 5, tolerance);
    EXPECT_NEAR(head.idleNext, head.idleClock + 1.5, tolerance);
}

TEST(HeadAnimator, OnlyAnIdleHeadGlancesAndADueGlanceComesAtOnce) {
    Scripted waiting({0.5F, 0.5F, 0.5F});
    HeadAnimator& head = waiting.head;
    head.watching = true;
    waiting.update(0.1F, 60);
    head.state = HeadState::Asleep;
    waiting.update(0.1F, 60);
    head.watching = false;
    waiting.update(0.1F, 60);
    EXPECT_EQ(head.idleClock, 0);
    head.state = HeadState::Listening;
    waiting.update(0.1F, 60);
    EXPECT_NEAR(head.idleClock, 6, tolerance);
    EXPECT_EQ(waiting.drawn, 0U);
    head.state = HeadState::Idle;
    head.update(step);
    EXPECT_EQ(waiting.drawn, 3U);
}

TEST(HeadAnimator, ABusyHeadSways) {
    Scripted listening({}, HeadState::Listening);
    HeadAnimator& head = listening.head;
    head.clock = pi / 0.8 - step;  // 0.4 of it is half pi, 0.3 of it three eighths of pi
    head.update(step);
    EXPECT_NEAR(head.pitchBase, -4 + 0.4 * 0.03, tolerance);
    EXPECT_NEAR(head.yawBase, std::sin(pi * 3 / 8) * 0.4 * 0.03, tolerance);
}

TEST(HeadAnimator, ASleepingHeadDroopsAndGoesDark) {
    Scripted sleeping({}, HeadState::Asleep);
    HeadAnimator& head = sleeping.head;
    head.watching = true;
    head.yawBase = 50;
    head.clock = pi * 2.5 - step;  // 0.2 of it is half pi, 0.5 of it five quarters of pi
    head.update(step);
    EXPECT_NEAR(head.pitchBase, -4 + 29 * 0.02 + 0.01, tolerance);
    EXPECT_NEAR(head.pose.pitch, head.pitchBase - std::sqrt(0.5) * 0.6, tolerance);
    EXPECT_NEAR(head.pose.yaw, 49, tolerance);
    EXPECT_EQ(head.pose.eyeGlow, 0);
    EXPECT_EQ(head.pose.eyeTint, 0.05F);
    EXPECT_EQ(head.pose.dim, 0.55F);
    head.state = HeadState::Idle;
    head.update(step);
    EXPECT_EQ(head.pose.eyeGlow, 0.25F);
    EXPECT_EQ(head.pose.eyeTint, 1);
    EXPECT_EQ(head.pose.dim, 1);
}

TEST(HeadAnimator, TheEarsShowTheState) {
    struct Case {
        HeadState state;
        bool watching;
        double clock;  // where the sine is 1
        float glow;
    };
    const Case cases[] = {
        {HeadState::Idle, false, 1, 0},
        {HeadState::Idle, true, 1, 0.03F},
        {HeadState::Asleep, true, 1, 0},
        {HeadState::Listening, true, pi / 12, 0.16F},
        {HeadState::Listening, false, pi / 4, 0.08F},  // and here -1
        {HeadState::Thinking, false, pi / 4, 0.09F},
        {HeadState::Speaking, false, pi / 8, 0.1F},
    };
    for (const Case& item : cases) {
        Scripted glowing({0, 0}, item.state);
        glowing.head.watching = item.watching;
        glowing.head.clock = item.clock;
        glowing.head.update(0);
        EXPECT_NEAR(glowing.head.pose.earGlow, item.glow, 1e-6) << static_cast<int32_t>(item.state);
    }
}

TEST(HeadAnimator, AThinkingHeadRocks) {
    Scripted thinking({}, HeadState::Thinking);
    HeadAnimator& head = thinking.head;
    head.clock = pi / 3.2 - step;  // 1.6 of it is half pi
    head.update(step);
    EXPECT_NEAR(head.pose.roll, 2 * 0.08, tolerance);
    head.state = HeadState::Listening;
    head.update(step);
    EXPECT_NEAR(head.pose.roll, 0.16 * 0.92, tolerance);
}

TEST(HeadAnimator, TheJawFollowsTheVoice) {
    Scripted speaking({}, HeadState::Speaking);
    HeadAnimator& head = speaking.head;
    head.speechLevel = 0.5F;
    head.update(step);
    EXPECT_NEAR(head.pose.jaw, 12 * 0.35, tolerance);
    head.speechLevel = 0;
    head.update(step);
    EXPECT_NEAR(head.pose.jaw, 4.2 * 0.65, tolerance);
    head.state = HeadState::Idle;
    head.update(step);
    EXPECT_NEAR(head.pose.jaw, 2.73 * 0.88, tolerance);
}

TEST(HeadAnimator, TheJawFlapsWithoutAVoice) {
    Scripted speaking({0.5F, 0.25F, 1, 0}, HeadState::Speaking);
    HeadAnimator& head = speaking.head;
    head.update(step);
    EXPECT_NEAR(head.pose.jaw, 11 * 0.35, tolerance);
    EXPECT_NEAR(head.jawTimer, 0.25 * 0.08 + 0.04, tolerance);
    head.update(step);
    EXPECT_EQ(speaking.drawn, 2U);
    head.update(step);
    EXPECT_EQ(speaking.drawn, 4U);
    EXPECT_EQ(head.jawTarget, 22);
    EXPECT_NEAR(head.jawTimer, 0.04, tolerance);
}

TEST(HeadAnimator, NoTimeMovesNothing) {
    for (const HeadState state : {HeadState::Idle, HeadState::Asleep, HeadState::Listening,
                                  HeadState::Thinking, HeadState::Speaking}) {
        Scripted still({}, state);
        HeadAnimator& head = still.head;
        head.speechLevel = 1;
        head.pitchBase = head.yawBase = head.rollNow = head.jawNow = 7;
        head.update(0);
        EXPECT_EQ(head.pose.pitch, 7);
        EXPECT_EQ(head.pose.yaw, 7);
        EXPECT_EQ(head.pose.roll, 7);
        EXPECT_EQ(head.pose.jaw, 7);
    }
}

TEST(HeadAnimator, ItStillMovesAfterAMonth) {
    HeadAnimator head;
    head.clock = head.idleClock = 30 * 86400;
    head.state = HeadState::Listening;
    for (int32_t i = 0; i < 30; ++i)
        head.update(step);
    EXPECT_NEAR(head.clock, 30 * 86400 + 1, 1e-3);
    EXPECT_NEAR(head.idleClock, 30 * 86400 + 1, 1e-3);
}

TEST(HeadAnimator, ItsOwnRandomNumbersFillTheRange) {
    HeadAnimator head;
    float least = 1;
    float most = 0;
    for (int32_t i = 0; i < 1000; ++i) {
        const float number = head.random();
        least = std::min(least, number);
        most = std::max(most, number);
    }
    EXPECT_TRUE(least >= 0 && least < 0.05F && most > 0.95F && most <= 1) << least << " " << most;
}

}  // namespace
