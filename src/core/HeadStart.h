#pragma once

#include <cstdint>
#include <string>

#include "platform/head_surface.h"
#include "presence/HeadRenderer.h"

// What the modes that draw the head share.

/// Prepares the renderer for the head's model, which lies beside the executable. `surface` is null, and
/// `problem` the reason, when there is nothing to draw into. On false the user has been told.
[[nodiscard]] bool startRenderer(HeadRenderer& renderer, const HeadSurface* surface,
                                 const std::string& problem, int32_t width, int32_t height);
