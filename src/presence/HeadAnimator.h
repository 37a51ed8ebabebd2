#pragma once

#include <cstdint>
#include <functional>
#include <random>

#include "presence/HeadPose.h"

enum class HeadState : int32_t { Idle, Asleep, Listening, Thinking, Speaking };

/// Turns what the head is doing into its pose, a frame at a time. All motion smoothly approaches a target;
/// only the spin has a constant speed. The caller sets `state`, `speechLevel`, `gazeX`, `gazeY` and
/// `watching` before each update, and the rest is the animator's own.
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
    float jawTarget = 0;    ///< where the speaking jaw is going
    float jawTimer = 0;     ///< seconds to its next random target
    float idlePitch = -4;   ///< pitch of the current glance
    float idleYaw = 0;      ///< yaw of the current glance
    double idleClock = 0;   ///< seconds neither watching, asleep nor spinning; double as `clock` is
    double idleNext = 2.5;  ///< `idleClock` of the next glance
    float winkClock = 0;    ///< seconds since the wink began
    bool winking = false;
    float spinLeft = 0;      ///< degrees still to turn
    float speechLevel = -1;  ///< opening of the mouth, 0 to 1, from the voice; below 0: there is none
    float gazeX = 0;         ///< what to look at, -1 left to 1 right
    float gazeY = 0;         ///< -1 up to 1 down
    bool watching = false;   ///< follow `gazeX` and `gazeY`

    /// The next random number, from 0 to 1. Never seeded: every run glances alike.
    std::function<float()> random = [engine = std::minstd_rand()]() mutable {
        return std::uniform_real_distribution<float>()(engine);
    };

    /// Moves on by `dt` seconds, 0 or more.
    void update(float dt);

    /// Dips the eyes' glow once; a wink that is running starts over.
    void startWink();

    /// Turns the head once around, whatever else it is doing.
    void startSpin();

private:
    float advanceWink(float dt);
    void updateGlow(float winkFactor);
    void updateTurn(float dt);
    void updateRoll(float dt);
    void updateJaw(float dt);
};
