#pragma once

#include <cstdint>
#include <functional>

#include "platform/geometry.h"

// Where the head's window goes and how large it is. Nothing here asks or moves a window. Threads: any.

/// Pixels.
struct HeadSize {
    int32_t width = 0;
    int32_t height = 0;
    bool operator==(const HeadSize&) const = default;
};

/// The window for the setting `sizePx` on a desktop with `dpi` dots per inch. The setting is the user's to
/// edit, so any number will do: it counts as 60 to 1200, and the dots as 24 to 480.
HeadSize headSize(int32_t sizePx, int32_t dpi);

struct HeadPlacement {
    HeadSize size;              ///< its new size, as `headSize` gives it
    Rect current;               ///< where it is now
    bool keepPosition = false;  ///< stay there, on the same base and middle; without a `current`, as if false
    Point saved{-1, -1};        ///< the saved position; a -1 in either: there is none
    Rect primaryWorkArea;       ///< the main screen without its panels
    std::function<Rect(Point)>
        workAreaNearest;  ///< the work area of the screen nearest to a point; must be set
};

/// The window's new place. It may stick out of the nearest screen's work area, but never so far that the user
/// couldn't get hold of it.
Rect placeHead(const HeadPlacement& placement);
