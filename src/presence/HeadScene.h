#pragma once

#include <glm/glm.hpp>

#include "presence/HeadPose.h"
#include "presence/HeadPrimitive.h"

/// What both shaders read, updated before each draw; laid out as the shaders' uniform block.
struct HeadConstants {
    glm::mat4 world{1};     ///< part to world
    glm::mat4 viewProj{1};  ///< world to clip space
    glm::vec4 baseColor{1};
    glm::vec4 emissive{0};  ///< rgb: colour times strength
    glm::vec4 misc{0};      ///< use the texture (1 or 0), dim, specular strength, nothing
};
static_assert(sizeof(HeadConstants) == 176);

/// One frame of the head in numbers: the camera, the head's turn, and what each draw reads. Nothing here
/// calls a graphics interface.
///
/// Threads: one at a time.
class HeadScene {
public:
    /// `aspect` is the picture's width divided by its height; `scale` and `center` are the model's.
    HeadScene(const HeadPose& pose, float aspect, float scale, const glm::vec3& center);

    /// Returns what the shaders read to draw the part, whose node is at `node` in the model.
    [[nodiscard]] HeadConstants constantsOf(const HeadPrimitive& part, const glm::mat4& node) const;

private:
    HeadPose pose;
    glm::mat4 viewProj;
    glm::mat4 toWorld;  ///< from the model's space
};
