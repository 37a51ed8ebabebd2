#pragma once

#include <cstdint>
#include <glm/glm.hpp>

#include "presence/HeadModel.h"

/// One part of the head in the graphics card's memory.
struct HeadPrimitive {
    uint32_t vertexArray = 0;   ///< GL names, owned by the renderer
    uint32_t vertexBuffer = 0;  ///< in `HeadVertex` layout
    uint32_t indexBuffer = 0;   ///< 32-bit indices
    uint32_t indexCount = 0;
    uint32_t texture = 0;  ///< base colour texture, shared between parts; 0: none
    glm::vec4 baseColor{1};
    HeadGlow glow = HeadGlow::none;
    int32_t nodeIndex = 0;
    bool isJaw = false;
};
