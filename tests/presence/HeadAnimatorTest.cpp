#include "presence/HeadAnimator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>
#include <vector>

namespace {

constexpr double pi = std::numbers::pi;
constexpr float step = 1.0F / 30;  // the time for which `keep` is the share that is left
using enum HeadState;
constexpr float tolerance = 1e-4F;

/// An animator that draws these random numbers. Drawing one more fails the test.
struct Scripted {
    std::vector<float> numbers;
    size_t drawn = 0;
    HeadAnimator head;

    explicit Scripted(std::vector<float> values, HeadState state = Idle) : numbers(std::move(values)) {
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

TEST(HeadAnimator, EachStateHasItsMotionsAndLights) {
    struct Approach {
        double target, keep;
    };
    const double swaying = 0.4 * std::sin(pi * 1.25 * 0.3);
    const double rocking = 2 * std::sin(pi / 4 * 1.6);
    const struct {
        HeadState state;
        bool watching;
        double clock;
        float level;
        Approach pitch, yaw, jaw;
        double roll, ears;
    } cases[] = {
        {Idle, false, 1, 1, {-4, 0.97}, {0, 0.97}, {0, 0.88}, 0, 0},
        {Idle, true, 1, 1, {-10, 0.9}, {28, 0.9}, {0, 0.88}, 0, 0.03},
        {Asleep, true, pi * 2.5, 1, {25, 0.98}, {0, 0.98}, {0, 0.88}, 0, 0},
        {Listening, false, pi * 1.25, 1, {-3.6, 0.97}, {swaying, 0.97}, {0, 0.88}, 0, 0.08},
        {Listening, true, pi / 12, 1, {-10, 0.9}, {28, 0.9}, {0, 0.88}, 0, 0.16},
        {Thinking, true, pi / 4, 1, {-10, 0.9}, {28, 0.9}, {0, 0.88}, rocking, 0.09},
        {Speaking, true, pi / 8, 0.5, {-10, 0.9}, {28, 0.9}, {12, 0.65}, 0, 0.1},
        {Speaking, true, pi / 8, 0, {-10, 0.9}, {28, 0.9}, {0, 0.65}, 0, 0.1},
    };
    for (const auto& item : cases) {
        Scripted scripted({}, item.state);
        HeadAnimator& head = scripted.head;
        head.watching = item.watching;
        head.speechLevel = item.level;
        head.gazeX = 1;
        head.gazeY = -0.5F;
        head.clock = item.clock - step;
        head.pitchBase = head.yawBase = 50;
        head.rollNow = 5;
        head.jawNow = 7;
        head.update(step);
        const bool isAsleep = item.state == Asleep;
        const auto expectNear = [&](float value, double expected) {
            EXPECT_NEAR(value, expected, tolerance) << static_cast<int32_t>(item.state) << item.watching;
        };
        const double pitch = item.pitch.target + (50 - item.pitch.target) * item.pitch.keep + isAsleep * 0.01;
        expectNear(head.pitchBase, pitch);
        expectNear(head.pose.pitch, pitch + 0.6 * std::sin(item.clock * 0.5));
        expectNear(head.pose.yaw, item.yaw.target + (50 - item.yaw.target) * item.yaw.keep);
        expectNear(head.pose.roll, item.roll + (5 - item.roll) * 0.92);
        expectNear(head.pose.jaw, item.jaw.target + (7 - item.jaw.target) * item.jaw.keep);
        expectNear(head.pose.earGlow, item.ears);
        expectNear(head.pose.eyeGlow, isAsleep ? 0 : item.watching ? 0.25 : 0.12);
        expectNear(head.pose.eyeTint, isAsleep ? 0.05 : 1);
        expectNear(head.pose.dim, isAsleep ? 0.55 : 1);
    }
}

TEST(HeadAnimator, TheFrameRateDoesNotChangeTheMotionEvenAfterAMonth) {
    constexpr double month = 30 * 86400;
    for (const int32_t rate : {20, 30, 120}) {
        Scripted gazing({});
        gazing.head.watching = true;
        gazing.head.gazeX = 1;
        gazing.head.clock = month;
        gazing.update(1.0F / static_cast<float>(rate), rate);
        EXPECT_NEAR(gazing.head.pose.yaw, 28 - 28 * std::pow(0.9, 30), 1e-3);
        EXPECT_NEAR(gazing.head.clock, month + 1, 1e-3);
    }
}

TEST(HeadAnimator, AWinkDipsTheEyesForHalfASecond) {
    const struct {
        float seconds, factor;
        bool winking;
    } cases[] = {{0, 1, true},     {0.075F, 0.5F, true}, {0.15F, 0, true},      {0.349F, 0, true},
                 {0.35F, 0, true}, {0.425F, 0.5F, true}, {0.497F, 0.98F, true}, {0.5F, 1, false}};
    for (const auto& [seconds, factor, winking] : cases) {
        Scripted scripted({});
        HeadAnimator& head = scripted.head;
        head.startWink();
        head.update(seconds);
        EXPECT_NEAR(head.pose.eyeGlow, 0.12F * factor, tolerance) << seconds;
        EXPECT_EQ(head.winking, winking) << seconds;
        head.startWink();
        head.update(0.075F);
        EXPECT_NEAR(head.pose.eyeGlow, 0.06F, tolerance) << "restarted";
    }
}

TEST(HeadAnimator, ASpinTurnsOnceAroundInAnyState) {
    for (const HeadState state : {Idle, Asleep, Speaking}) {
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
        EXPECT_EQ(head.pitchBase, 20);
        EXPECT_EQ(head.idleClock, 0);
        head.update(step);
        EXPECT_NE(head.pitchBase, 20) << "the state's own motion is back";
    }
}

TEST(HeadAnimator, OnlyAnIdleHeadGlancesAndADueGlanceComesAtOnce) {
    Scripted idle({1, 0.2F, 0.5F, 0, 1, 0});
    HeadAnimator& head = idle.head;
    head.idleClock = 2.5 - 2 * step - 0.01;
    for (const bool watching : {true, false}) {
        head.state = watching ? Idle : Asleep;
        head.watching = watching;
        idle.update(0.1F, 60);
    }
    head.state = Idle;
    head.pitchBase = -4;
    head.yawBase = 0;
    idle.update(step, 2);
    EXPECT_EQ(idle.drawn, 0U);
    head.update(step);
    EXPECT_EQ(idle.drawn, 3U);
    EXPECT_NEAR(head.idlePitch, 0.5 * 3 - 4, tolerance);
    EXPECT_NEAR(head.idleYaw, -0.3 * 10, tolerance);
    EXPECT_NEAR(head.idleNext, head.idleClock + 1.5 + 0.5 * 4, tolerance);
    EXPECT_NEAR(head.pitchBase, -4 + 1.5 * 0.03, tolerance);
    EXPECT_NEAR(head.yawBase, -3 * 0.03, tolerance);
    head.state = Listening;
    idle.update(0.1F, 60);
    EXPECT_EQ(idle.drawn, 3U);
    head.state = Idle;
    head.update(step);
    EXPECT_EQ(idle.drawn, 6U);
    EXPECT_NEAR(head.idleNext, head.idleClock + 1.5, tolerance);
}

TEST(HeadAnimator, TheJawFlapsWithoutAVoice) {
    Scripted speaking({0.5F, 0.25F, 1, 0}, Speaking);
    HeadAnimator& head = speaking.head;
    head.update(step);
    EXPECT_NEAR(head.pose.jaw, 11 * 0.35, tolerance);
    EXPECT_NEAR(head.jawTimer, 0.25 * 0.08 + 0.04, tolerance);
    head.update(step);
    EXPECT_EQ(speaking.drawn, 2U);
    head.update(step);
    EXPECT_EQ(head.jawTarget, 22);
    EXPECT_NEAR(head.jawTimer, 0.04, tolerance);
}

}  // namespace
