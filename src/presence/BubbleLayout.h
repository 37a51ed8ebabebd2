#pragma once

#include <cstdint>

#include "platform/bubble_view.h"

// The size and place of the speech bubble, as plain functions. DPI values are clamped to 24..480. Threads:
// any.

/// Returns the panel's width in pixels.
int32_t bubbleWidth(int32_t dpi);

/// Returns the width in pixels at which its text wraps.
int32_t bubbleTextWidth(int32_t dpi);

BubbleStyle bubbleStyle(int32_t dpi);

/// The input of the layout, in pixels.
struct BubbleFacts {
    int32_t textHeight = 0;  ///< of the main text at `bubbleTextWidth`, 0 without one
    bool hasStatus = false;
    bool typing = false;
    Rect anchor;    ///< the head's window
    Rect workArea;  ///< of the nearest screen
    int32_t dpi = 96;
};

/// Places the panel above the anchor if it fits there, else below it, and within the work area. In a work
/// area that is too small, the left and the top edge stay visible. Of a text that is too tall, the newest
/// lines are visible.
BubbleLayout layOutBubble(const BubbleFacts& facts);
