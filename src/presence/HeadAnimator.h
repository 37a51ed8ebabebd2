#pragma once

#include <cstdint>
#include <functional>
#include <random>

#include "presence/HeadPose.h"

enum class HeadState : int32_t { Idle, Asleep, Listening, Thinking, Speaking };

/// Computes the head's pose for each frame from what the head is doing. All motion approaches a target
/// smoothly; only the spin has a constant speed. The caller sets `state`, `speechLevel`, `gazeX`, `gazeY` and
/// `watching` before each update; the other fields belong to the animator.
///
/// Threads: one at a time.
class HeadAnimator {
public:
    HeadState state = HeadState::Idle;
    HeadPose pose;          ///< the result of the last update
    double clock = 0;       ///< seconds, sum of all frame times; a float would stop counting after days
    float pitchBase = -4;   ///< smoothed pitch without the breathing
    float yawBase = 0;      ///< smoothed yaw
    float rollNow = 0;      ///< smoothed roll
    float jawNow = 0;       ///< smoothed jaw
    float jawTarget = 0;    ///< target of the speaking jaw
    float jawTimer = 0;     ///< seconds until the next random target
    float idlePitch = -4;   ///< pitch of the current glance
    float idleYaw = 0;      ///< yaw of the current glance
    double idleClock = 0;   ///< seconds spent neither watching, asleep nor spinning; double like `clock`
    double idleNext = 2.5;  ///< `idleClock` of the next glance
    float winkClock = 0;    ///< seconds since the wink began
    bool winking = false;
    float spinLeft = 0;      ///< degrees still to turn
    float speechLevel = -1;  ///< opening of the mouth, 0 to 1, from the voice; below 0: no voice
    float gazeX = 0;         ///< what to look at, -1 left to 1 right
    float gazeY = 0;         ///< -1 up to 1 down
    bool watching = false;   ///< follow `gazeX` and `gazeY`

    /// Returns the next random number, 0 to 1. It isn't seeded, so every run has the same glances.
    std::function<float()> random = [engine = std::minstd_rand()]() mutable {
        return std::uniform_real_distribution<float>()(engine);
    };

    /// Advances by `dt` seconds, 0 or more.
    void update(float dt);

    /// Dips the eyes' glow once. A running wink starts again.
    void startWink();

    /// Turns the head around once, in any state.
    void startSpin();

private:
    float advanceWink(float dt);
    void updateGlow(float winkFactor);
    void updateTurn(float dt);
    void updateRoll(float dt);
    void updateJaw(float dt);
};
