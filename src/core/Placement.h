#pragma once

#include <cstdint>
#include <functional>

#include "platform/geometry.h"

// The place and the size of the head's window. Nothing here touches a window. Threads: any.

/// Pixels.
struct HeadSize {
    int32_t width = 0;
    int32_t height = 0;
    bool operator==(const HeadSize&) const = default;
};

/// Returns the window's size for the setting `sizePx` on a desktop with `dpi` dots per inch. Users edit the
/// setting by hand, so any number is accepted: it counts as 60 to 1200, and the dots as 24 to 480.
HeadSize headSize(int32_t sizePx, int32_t dpi);

struct HeadPlacement {
    HeadSize size;              ///< its new size, as `headSize` gives it
    Rect current;               ///< where it is now
    bool keepPosition = false;  ///< keep base and middle of `current`; ignored if that is empty
    Point saved{-1, -1};        ///< the saved position; -1 in either: none
    Rect primaryWorkArea;       ///< the main screen without its panels
    std::function<Rect(Point)>
        workAreaNearest;  ///< the work area of the screen nearest to a point; must be set
};

/// Returns the window's new place. It may stick out of the nearest screen's work area, but the user can
/// always reach it.
Rect placeHead(const HeadPlacement& placement);
