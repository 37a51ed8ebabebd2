#pragma once

#include <cstdint>

#include "platform/bubble_view.h"

// What the speech bubble measures and where it goes. Nothing here asks or moves a window. Dots per inch count
// as 24 to 480. Threads: any.

/// The panel's width in pixels.
int32_t bubbleWidth(int32_t dpi);

/// The width in pixels that its text is broken to.
int32_t bubbleTextWidth(int32_t dpi);

BubbleStyle bubbleStyle(int32_t dpi);

/// What the layout follows from; pixels.
struct BubbleFacts {
    int32_t textHeight = 0;  ///< of the main text at `bubbleTextWidth`, 0 without one
    bool hasStatus = false;
    bool typing = false;
    Rect anchor;    ///< the head's window
    Rect workArea;  ///< of the screen nearest to it
    int32_t dpi = 96;
};

/// The panel stands above the anchor if it fits there, else below it, and within the work area; in one that
/// is too small for it, the left and the top edge win. Of a text that is too tall the newest lines are in
/// view.
BubbleLayout layOutBubble(const BubbleFacts& facts);
