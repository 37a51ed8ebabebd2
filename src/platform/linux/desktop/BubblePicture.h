#pragma once

#include <QColor>
#include <QFont>
#include <QImage>
#include <string>
#include <vector>

#include "platform/bubble_view.h"
#include "platform/linux/desktop/BrokenText.h"

// Draws the speech bubble's panel. Threads: the window thread.

QColor toColor(const Rgb& colour);
QRect toQRect(const Rect& rect);

/// Returns the style's font, or the system's substitute for it.
QFont bubbleFont(const BubbleStyle& style, int32_t pixels, bool italic);

/// Returns the panel with its texts and the background of its edit line, on a see-through ground. `body`
/// holds the main text, broken into lines.
QImage bubblePicture(const BubbleLayout& layout, const BubbleStyle& style, const BrokenText& body,
                     const std::string& status);

/// Returns the pixels of a picture that are at least half opaque, as one rectangle for each row.
std::vector<Rect> visibleRows(const QImage& picture);
