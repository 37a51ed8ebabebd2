#include "presence/HeadAnimator.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float restPitch = -4;    // a resting head looks up a little
constexpr float spinSpeed = 300;   // degrees a second
constexpr float winkClosed = 150;  // milliseconds since the wink began
constexpr float winkOpens = 350;
constexpr float winkEnds = 500;

// Moves `value` towards `target`. `keep` is the share of the distance that is left after 1/30 s, so that the
// motion doesn't depend on the frame rate.
void approach(float& value, float target, float keep, float dt) {
    value += (target - value) * (1 - std::pow(keep, dt * 30));
}

// Returns the sine of a phase that advances by `speed` radians a second.
float wave(double clock, double speed) {
    return static_cast<float>(std::sin(clock * speed));
}

}  // namespace

void HeadAnimator::update(float dt) {
    clock += dt;
    updateGlow(advanceWink(dt));
    updateTurn(dt);
    updateRoll(dt);
    pose.pitch = wave(clock, 0.5) * 0.6F + pitchBase;
    pose.yaw = yawBase;
    pose.roll = rollNow;
    updateJaw(dt);
    pose.jaw = jawNow;
    pose.dim = state == HeadState::Asleep ? 0.55F : 1;
}

void HeadAnimator::startWink() {
    winkClock = 0;
    winking = true;
}

void HeadAnimator::startSpin() {
    spinLeft = 360;
}

// Advances the wink and returns the factor of the eyes' glow.
float HeadAnimator::advanceWink(float dt) {
    if (!winking) return 1;
    winkClock += dt;
    const float milliseconds = winkClock * 1000;
    if (milliseconds < winkClosed) return 1 - milliseconds / winkClosed;
    if (milliseconds < winkOpens) return 0;
    if (milliseconds < winkEnds) return (milliseconds - winkOpens) / (winkEnds - winkOpens);
    winking = false;
    return 1;
}

void HeadAnimator::updateGlow(float winkFactor) {
    pose.eyeTint = 1;
    pose.eyeGlow = (watching ? 0.25F : 0.12F) * winkFactor;
    switch (state) {
        case HeadState::Asleep:
            pose.eyeTint = 0.05F;
            pose.eyeGlow = 0;
            pose.earGlow = 0;
            break;
        case HeadState::Listening:
            pose.earGlow = wave(clock, 6) * 0.04F + 0.12F;
            break;
        case HeadState::Thinking:
            pose.earGlow = wave(clock, 2) * 0.03F + 0.06F;
            break;
        case HeadState::Speaking:
            pose.earGlow = wave(clock, 4) * 0.02F + 0.08F;
            break;
        case HeadState::Idle:
            pose.earGlow = watching ? 0.03F : 0;
            break;
    }
}

void HeadAnimator::updateTurn(float dt) {
    if (spinLeft > 0) {
        const float step = std::min(spinLeft, dt * spinSpeed);
        spinLeft -= step;
        yawBase += step;
        if (yawBase > 180) yawBase -= 360;
        return;
    }
    if (state == HeadState::Asleep) {
        approach(yawBase, 0, 0.98F, dt);
        approach(pitchBase, 25, 0.98F, dt);
        pitchBase += wave(clock, 0.2) * 0.01F;
        return;
    }
    if (watching) {
        approach(pitchBase, gazeY * 12 + restPitch, 0.9F, dt);
        approach(yawBase, gazeX * 28, 0.9F, dt);
        return;
    }
    idleClock += dt;
    float pitchTarget = wave(clock, 0.4) * 0.4F + restPitch;
    float yawTarget = wave(clock, 0.3) * 0.4F;
    if (state == HeadState::Idle) {
        if (idleClock >= idleNext) {
            idlePitch = (random() - 0.5F) * 3 + restPitch;
            idleYaw = (random() - 0.5F) * 10;
            idleNext = idleClock + 1.5 + random() * 4;
        }
        pitchTarget = idlePitch;
        yawTarget = idleYaw;
    }
    approach(pitchBase, pitchTarget, 0.97F, dt);
    approach(yawBase, yawTarget, 0.97F, dt);
}

void HeadAnimator::updateRoll(float dt) {
    const float target = state == HeadState::Thinking ? wave(clock, 1.6) * 2 : 0;
    approach(rollNow, target, 0.92F, dt);
}

void HeadAnimator::updateJaw(float dt) {
    if (state != HeadState::Speaking) {
        approach(jawNow, 0, 0.88F, dt);
        return;
    }
    if (speechLevel >= 0) {
        jawTarget = speechLevel * 24;
    } else {
        // There is no sound to follow, so the mouth moves at random.
        jawTimer -= dt;
        if (jawTimer <= 0) {
            jawTarget = random() * 22;
            jawTimer = random() * 0.08F + 0.04F;
        }
    }
    approach(jawNow, jawTarget, 0.65F, dt);
}
