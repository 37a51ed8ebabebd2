#pragma once

#include <QColor>
#include <QFont>
#include <QImage>
#include <string>
#include <vector>

#include "platform/bubble_view.h"
#include "platform/linux/desktop/BrokenText.h"

// How the speech bubble's panel is drawn. Threads: the window thread.

QColor toColor(const Rgb& colour);
QRect toQRect(const Rect& rect);

/// The style's font, or what the system has in its place.
QFont bubbleFont(const BubbleStyle& style, int32_t pixels, bool italic);

/// The panel with its texts and the ground of its edit line; see-through besides. `body` has been broken.
QImage bubblePicture(const BubbleLayout& layout, const BubbleStyle& style, const BrokenText& body,
                     const std::string& status);

/// The pixels of a picture that are more seen than not, as one rectangle for each row.
std::vector<Rect> visibleRows(const QImage& picture);
