#pragma once

#include <QFont>
#include <QPainter>
#include <QTextLayout>
#include <cstdint>
#include <string>

/// A text broken into lines, measured and drawn from the same lines. Every character stands for itself; a
/// word that is wider than a line is broken within. Threads: the window thread.
class BrokenText {
public:
    /// Before the first text.
    void setFont(const QFont& font) { layout.setFont(font); }

    /// Breaks the UTF-8 text to this width and returns its height, both in pixels; 0 for an empty text.
    /// Cheap for what it was given last.
    int32_t heightOf(const std::string& newText, int32_t newWidth);

    /// Draws the text that was last broken in the painter's colour, its top left corner here, without the
    /// lines that lie above `top`. Half lines look like a fault, so one that hardly sticks out is drawn too.
    void draw(QPainter& painter, QPoint topLeft, int32_t top) const;

private:
    QTextLayout layout;
    std::string text;
    int32_t width = 0;
    int32_t height = 0;
};
