#pragma once

#include <cstdint>
#include <string>

#include "platform/head_surface.h"
#include "presence/HeadRenderer.h"

// Shared by the modes that draw the head.

/// Prepares the renderer for the head's model, which lies beside the executable. `surface` is null when
/// there is nothing to draw into; `problem` is the reason then. Returns false on failure; the user has been
/// told then.
[[nodiscard]] bool startRenderer(HeadRenderer& renderer, const HeadSurface* surface,
                                 const std::string& problem, int32_t width, int32_t height);
