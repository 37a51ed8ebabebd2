#pragma once

/// The head's direction and lights: the renderer's input.
struct HeadPose {
    float pitch = 0;        ///< degrees of nod; negative looks up
    float yaw = 0;          ///< degrees of turn
    float roll = 0;         ///< degrees of tilt
    float jaw = 0;          ///< degrees of jaw opening
    float eyeGlow = 0.12F;  ///< emissive strength of the eyes
    float earGlow = 0;      ///< emissive strength of the ears
    float eyeTint = 1;      ///< multiplies the eyes' base colour
    float dim = 1;          ///< multiplies all lit surfaces
};
