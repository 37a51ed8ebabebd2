#include "presence/HeadScene.h"

#include <glm/gtc/matrix_transform.hpp>

namespace {

constexpr float specularStrength = 0.35F;
constexpr glm::vec3 eyeLight{0.0F, 0.85F, 0.95F};
constexpr glm::vec3 earLight{0.95F, 0.15F, 0.55F};

glm::mat4 turn(float degrees, const glm::vec3& axis) {
    return glm::rotate(glm::mat4(1), glm::radians(degrees), axis);
}

constexpr glm::vec3 xAxis{1, 0, 0};
constexpr glm::vec3 yAxis{0, 1, 0};
constexpr glm::vec3 zAxis{0, 0, 1};

}  // namespace

HeadScene::HeadScene(const HeadPose& framePose, float aspect, float scale, const glm::vec3& center)
    : pose(framePose) {
    const glm::mat4 view = glm::lookAt(glm::vec3(0, -0.1F, 2.2F), glm::vec3(0, -0.1F, 0), yAxis);
    const glm::mat4 projection = glm::perspective(glm::radians(40.0F), aspect, 0.1F, 20.0F);
    viewProj = projection * view;
    const glm::mat4 rotation = turn(pose.yaw, yAxis) * turn(pose.pitch, xAxis) * turn(pose.roll, zAxis);
    toWorld = rotation * glm::scale(glm::mat4(1), glm::vec3(scale)) * glm::translate(glm::mat4(1), -center);
}

HeadConstants HeadScene::constantsOf(const HeadPrimitive& part, const glm::mat4& node) const {
    HeadConstants values;
    values.viewProj = viewProj;
    values.world = toWorld * (part.isJaw ? node * turn(pose.jaw, xAxis) : node);
    values.baseColor = part.baseColor;
    values.misc = glm::vec4(part.texture != 0 ? 1 : 0, pose.dim, specularStrength, 0);
    if (part.glow == HeadGlow::eye) {
        values.emissive = glm::vec4(pose.eyeGlow * eyeLight, 0);
        values.baseColor = glm::vec4(glm::vec3(part.baseColor) * pose.eyeTint, 1);
    } else if (part.glow == HeadGlow::ear) {
        values.emissive = glm::vec4(pose.earGlow * earLight, 0);
    }
    return values;
}
