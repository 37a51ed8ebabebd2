#include "presence/HeadAnimator.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <tuple>
#include <utility>
#include <vector>

namespace {

constexpr double pi = std::numbers::pi;
constexpr float step = 1.0F / 30;  // the time for which `keep` is the share that is left
using enum HeadState;
constexpr float tolerance = 1e-4F;

/// An animator that draws these random numbers. Drawing one more throws.
struct Scripted {
    std::vector<float> numbers;
    size_t drawn = 0;
    HeadAnimator head;

    explicit Scripted(std::vector<float> values, HeadState state = Idle) : numbers(std::move(values)) {
        head.state = state;
        head.random = [this] { return numbers.at(drawn++); };
    }
    void update(float dt, int32_t times) {
        for (int32_t i = 0; i < times; ++i)
            head.update(dt);
    }
};

TEST(HeadAnimator, EachStateHasItsMotionsAndLights) {
    const double swaying = 0.4 * std::sin(pi * 1.25 * 0.3);
    const double rocking = 2 * std::sin(pi / 4 * 1.6);
    const struct {
        HeadState state;
        bool watching;
        double clock, pitch, yaw, turnKeep, jaw, jawKeep, roll, ears;
    } cases[] = {
        {Idle, false, 1, -4, 0, 0.97, 0, 0.88, 0, 0},
        {Idle, true, 1, -10, 28, 0.9, 0, 0.88, 0, 0.03},
        {Asleep, true, pi * 2.5, 25, 0, 0.98, 0, 0.88, 0, 0},
        {Listening, false, pi * 1.25, -3.6, swaying, 0.97, 0, 0.88, 0, 0.08},
        {Listening, true, pi / 12, -10, 28, 0.9, 0, 0.88, 0, 0.16},
        {Thinking, true, pi / 4, -10, 28, 0.9, 0, 0.88, rocking, 0.09},
        {Speaking, true, pi / 8, -10, 28, 0.9, 12, 0.65, 0, 0.1},
        {Speaking, true, pi / 8, -10, 28, 0.9, 0, 0.65, 0, 0.1},
    };
    for (const auto& item : cases) {
        Scripted scripted({}, item.state);
        HeadAnimator& head = scripted.head;
        head.watching = item.watching;
        head.speechLevel = static_cast<float>(item.jaw / 24);
        head.gazeX = 1;
        head.gazeY = -0.5F;
        head.clock = item.clock - step;
        head.pitchBase = head.yawBase = 50;
        head.rollNow = 5;
        head.jawNow = 7;
        head.update(step);
        const bool isAsleep = item.state == Asleep;
        const double pitch = item.pitch + (50 - item.pitch) * item.turnKeep + isAsleep * 0.01;
        const std::pair<float, double> values[] = {
            {head.pose.pitch, pitch + 0.6 * std::sin(item.clock * 0.5)},
            {head.pose.yaw, item.yaw + (50 - item.yaw) * item.turnKeep},
            {head.pose.roll, item.roll + (5 - item.roll) * 0.92},
            {head.pose.jaw, item.jaw + (7 - item.jaw) * item.jawKeep},
            {head.pose.earGlow, item.ears},
            {head.pose.eyeGlow, isAsleep        ? 0
                                : item.watching ? 0.25
                                                : 0.12},
            {head.pose.eyeTint, isAsleep ? 0.05 : 1},
            {head.pose.dim, isAsleep ? 0.55 : 1}};
        for (const auto& [value, expected] : values)
            EXPECT_NEAR(value, expected, tolerance) << static_cast<int32_t>(item.state) << item.watching;
    }
}

TEST(HeadAnimator, TheFrameRateDoesNotChangeTheMotionEvenAfterAMonth) {
    constexpr double month = 30 * 86400;
    Scripted gazing({});
    gazing.head.watching = true;
    gazing.head.gazeX = 1;
    gazing.head.clock = month;
    gazing.update(1.0F / 120, 120);
    EXPECT_NEAR(gazing.head.pose.yaw, 28 - 28 * std::pow(0.9, 30), 1e-3);
    EXPECT_NEAR(gazing.head.clock, month + 1, 1e-3);
}

TEST(HeadAnimator, AWinkDipsTheEyesForHalfASecond) {
    const std::tuple<float, float, bool> cases[] = {{0.075F, 0.5F, true},  {0.15F, 0, true},
                                                    {0.349F, 0, true},     {0.425F, 0.5F, true},
                                                    {0.497F, 0.98F, true}, {0.5F, 1, false}};
    for (const auto& [seconds, factor, winking] : cases) {
        HeadAnimator head;
        for (const float before : {0.3F, 0.0F, seconds}) {  // a second wink begins anew
            if (before != seconds) head.startWink();
            head.update(before);
        }
        EXPECT_NEAR(head.pose.eyeGlow, 0.12F * factor, tolerance) << seconds;
        EXPECT_EQ(head.winking, winking) << seconds;
    }
}

TEST(HeadAnimator, ASpinTurnsOnceAroundInAnyState) {
    for (const HeadState state : {Idle, Asleep}) {
        Scripted spinning({}, state);
        HeadAnimator& head = spinning.head;
        head.startSpin();
        spinning.update(0.1F, 6);  // 30 degrees each
        EXPECT_EQ(head.yawBase, 180);
        head.update(0.1F);
        EXPECT_NEAR(head.pose.yaw, -150, tolerance);
        spinning.update(0.1F, 6);
        EXPECT_NEAR(head.yawBase, 0, 0.1) << "the state's own motion is back";
    }
}

TEST(HeadAnimator, OnlyAnIdleHeadGlancesAndADueGlanceComesAtOnce) {
    Scripted idle({1, 0.2F, 0.5F});
    HeadAnimator& head = idle.head;
    for (const HeadState state : {Idle, Asleep, Listening}) {
        head.state = state;
        head.watching = state == Idle;
        head.idleClock = state == Listening ? 2.4 : 0;
        idle.update(0.1F, 60);
    }
    EXPECT_EQ(idle.drawn, 0U);
    head.state = Idle;
    head.pitchBase = -4;
    head.yawBase = 0;
    head.update(step);
    EXPECT_NEAR(head.idlePitch, 0.5 * 3 - 4, tolerance);
    EXPECT_NEAR(head.idleYaw, -0.3 * 10, tolerance);
    EXPECT_NEAR(head.idleNext, head.idleClock + 1.5 + 0.5 * 4, tolerance);
    EXPECT_NEAR(head.pitchBase, -4 + 1.5 * 0.03, tolerance);
    EXPECT_NEAR(head.yawBase, -3 * 0.03, tolerance);
    idle.update(0.1F, 34);
    EXPECT_EQ(idle.drawn, 3U);
}

TEST(HeadAnimator, TheJawFlapsWithoutAVoice) {
    Scripted speaking({0.5F, 0.25F, 1, 0}, Speaking);
    HeadAnimator& head = speaking.head;
    head.update(step);
    EXPECT_NEAR(head.pose.jaw, 11 * 0.35, tolerance);
    EXPECT_NEAR(head.jawTimer, 0.25 * 0.08 + 0.04, tolerance);
    speaking.update(step, 2);
    EXPECT_EQ(head.jawTarget, 22);
}

}  // namespace
