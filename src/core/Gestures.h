#pragma once

#include <cstdint>
#include <vector>

#include "platform/geometry.h"

// What the pointer's position means to the head. Threads: any.

/// Returns whether a pixel of the head's window belongs to the head, an ellipse a little smaller than the
/// window. Clicks outside it go to the windows behind.
bool isOnHead(int32_t x, int32_t y, int32_t width, int32_t height);

/// Returns the same pixels as one rectangle a row, from the top down: the window's input shape.
std::vector<Rect> headRows(int32_t width, int32_t height);

/// Returns whether the pointer is so far from where it was pressed that this is a drag and no click.
bool passesDragThreshold(Point offset);

/// The direction of the cursor, seen from the head: -1 to 1, to the right and down.
struct Gaze {
    float x = 0;
    float y = 0;
    bool watching = false;  ///< near enough to be followed
};

/// Returns the gaze of the head in `window` at the cursor.
Gaze gazeAt(Point cursor, Rect window);
