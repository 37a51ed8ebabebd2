#pragma once

#include <cstdint>
#include <vector>

#include "platform/geometry.h"

// What the pointer means to the head. Threads: any.

/// Whether a pixel of the head's window belongs to the head, an ellipse a little smaller than the window.
/// What is outside is for the windows behind.
bool isOnHead(int32_t x, int32_t y, int32_t width, int32_t height);

/// The same pixels as one rectangle for each row that has any, from the top down: the window's input shape.
std::vector<Rect> headRows(int32_t width, int32_t height);

/// Whether the pointer has gone so far from where it was pressed that this is a drag and no click.
bool passesDragThreshold(Point offset);

/// Where the cursor is, seen from the head: -1 to 1, to the right and down.
struct Gaze {
    float x = 0;
    float y = 0;
    bool watching = false;  ///< near enough to be followed
};

/// The gaze of the head in `window` at the cursor.
Gaze gazeAt(Point cursor, Rect window);
