#pragma once

#include <cstdint>
#include <glm/glm.hpp>
#include <string>
#include <vector>

#include "platform/head_surface.h"
#include "presence/HeadModel.h"
#include "presence/HeadPose.h"
#include "presence/HeadPrimitive.h"

/// Draws the head with OpenGL on a transparent background. Edges are soft: 4 samples a pixel, averaged with
/// their alpha.
///
/// Threads: window thread only.
class HeadRenderer {
public:
    HeadRenderer() = default;
    ~HeadRenderer();
    HeadRenderer(const HeadRenderer&) = delete;
    HeadRenderer& operator=(const HeadRenderer&) = delete;

    /// Prepares drawing to the surface, which must outlive the renderer, and loads the model. Returns false
    /// on failure, with the reason in the log. Must be called once only.
    [[nodiscard]] bool initialize(const HeadSurface& target, int32_t width, int32_t height,
                                  const std::string& modelPath);

    /// Draws and presents one frame. Does nothing before `initialize`, or when the surface is lost.
    void render(const HeadPose& pose);

    /// Sets the size in pixels. Does nothing before `initialize`, for a size below 1 and for the current
    /// size.
    void resize(int32_t newWidth, int32_t newHeight);

    /// Draws one frame to a PNG file of the current size: three channels over grey 90, or four with straight
    /// alpha. Returns false when it couldn't be drawn or written.
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
    uint32_t resolvedFrame = 0;  ///< framebuffer with one sample a pixel
    uint32_t resolvedColor = 0;
    std::vector<uint8_t> pixels;  ///< for the outline
};
