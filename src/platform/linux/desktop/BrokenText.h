#pragma once

#include <QFont>
#include <QPainter>
#include <QTextLayout>
#include <cstdint>
#include <string>

/// A text in lines that are measured and drawn alike. Nothing in it is markup; a word that is wider than a
/// line is broken. Threads: the window thread.
class BrokenText {
public:
    /// Sets the font; to be called before the first text.
    void setFont(const QFont& font) { layout.setFont(font); }

    /// Breaks a UTF-8 text to this width and returns its height, both in pixels; 0 for an empty text. Cheap
    /// when both are the same as in the last call.
    int32_t heightOf(const std::string& newText, int32_t newWidth);

    /// Draws the last text in the painter's colour, with its top left corner at `topLeft`, without the lines
    /// above `top`. A line that sticks out only a little is drawn too, because half lines look like a fault.
    void draw(QPainter& painter, QPoint topLeft, int32_t top) const;

private:
    QTextLayout layout;
    std::string text;
    int32_t width = 0;
    int32_t height = 0;
};
