#pragma once

#include <cstdint>
#include <glm/glm.hpp>
#include <string>
#include <vector>

#include "platform/head_surface.h"
#include "presence/HeadAnimator.h"
#include "presence/HeadModel.h"

/// One part of the head in the graphics card's memory.
struct HeadPrimitive {
    uint32_t vertexArray = 0;   ///< GL names, owned by the renderer
    uint32_t vertexBuffer = 0;  ///< in `HeadVertex` layout
    uint32_t indexBuffer = 0;   ///< 32-bit indices
    uint32_t indexCount = 0;
    uint32_t texture = 0;  ///< base colour texture, shared; 0: none
    glm::vec4 baseColor{1};
    HeadGlow glow = HeadGlow::none;
    int32_t nodeIndex = 0;
    bool isJaw = false;
};

/// What both shaders read, updated before each draw; laid out as the shaders' uniform block.
struct HeadConstants {
    glm::mat4 world{1};     ///< part to world
    glm::mat4 viewProj{1};  ///< world to clip space
    glm::vec4 baseColor{1};
    glm::vec4 emissive{0};  ///< rgb: colour times strength
    glm::vec4 misc{0};      ///< use the texture (1 or 0), dim, specular strength, nothing
};
static_assert(sizeof(HeadConstants) == 176);

/// Draws the head. Everything that isn't head stays see-through, with soft edges: 4 samples for each pixel,
/// averaged with the transparent background. Threads: the window thread.
class HeadRenderer {
public:
    HeadRenderer() = default;
    ~HeadRenderer();
    HeadRenderer(const HeadRenderer&) = delete;
    HeadRenderer& operator=(const HeadRenderer&) = delete;

    /// Prepares drawing into the surface, which must outlive the renderer, and loads the model. False on the
    /// first failure, which the log tells. Once.
    [[nodiscard]] bool initialize(const HeadSurface& target, int32_t width, int32_t height,
                                  const std::string& modelPath);

    /// Draws one frame and presents it. Nothing happens before `initialize`, or when the surface is lost.
    void render(const HeadPose& pose);

    /// Follows the window's size in pixels. Nothing happens before `initialize`, with a size below 1 or an
    /// unchanged one.
    void resize(int32_t newWidth, int32_t newHeight);

    /// Draws one frame into a PNG file of the current size: over grey 90 with three channels, or with a
    /// fourth of straight alpha. False when it couldn't be drawn or written.
    [[nodiscard]] bool capture(const std::string& path, const HeadPose& pose, bool withAlpha);

    int32_t width = 0;   ///< current size in pixels
    int32_t height = 0;  ///< current size in pixels
    std::vector<HeadPrimitive> primitives;
    std::vector<HeadNode> nodes;
    float scale = 0.6F;
    glm::vec3 center{0};

private:
    [[nodiscard]] bool createTargets();
    void releaseTargets();
    void upload(const HeadModel& model);
    void draw(const HeadPose& pose);
    void resolve() const;
    void cutToOutline();

    const HeadSurface* surface = nullptr;  ///< null: not initialised
    uint32_t program = 0;                  // GL names, all of them
    uint32_t constants = 0;
    uint32_t sampler = 0;
    uint32_t whiteTexture = 0;
    std::vector<uint32_t> textures;
    uint32_t frame = 0;  ///< framebuffer of the multisampled targets
    uint32_t colorTarget = 0;
    uint32_t depthTarget = 0;
    uint32_t resolvedFrame = 0;  ///< framebuffer of one sample for each pixel
    uint32_t resolvedColor = 0;
    std::vector<uint8_t> pixels;  ///< for the outline
};
