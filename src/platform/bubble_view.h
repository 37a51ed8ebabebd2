#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/desktop.h"
#include "platform/geometry.h"

struct Rgb {
    uint8_t red = 0;
    uint8_t green = 0;
    uint8_t blue = 0;
};

/// The look of the panel, which doesn't change. Sizes are pixels.
struct BubbleStyle {
    const char* fontFamily = "";  ///< the system's own font for windows is the fallback
    int32_t bodyFont = 0;
    int32_t statusFont = 0;  ///< in italics
    int32_t cornerRadius = 0;
    int32_t borderPen = 0;
    Rgb background;
    Rgb border;
    Rgb text;
    Rgb statusText;
    Rgb editBackground;
    const char* windowTitle = "";
    const char* placeholder = "";  ///< in the edit line while that is empty
};

/// The places of everything in the panel.
struct BubbleLayout {
    Rect window;                   ///< on the screen; all else is relative to its top left corner
    bool above = true;             ///< the panel is above the head
    Rect body;                     ///< the rounded panel with its border
    Rect text;                     ///< the visible part of the main text
    int32_t textTop = 0;           ///< top of its first line, perhaps far above the visible part
    Rect status;                   ///< of the status line; empty when there is none
    Rect edit;                     ///< of the edit line; empty when there is none
    std::array<Point, 3> pointer;  ///< the triangle that makes one shape with the body; the last is its tip
    bool operator==(const BubbleLayout&) const = default;
};

/// The callbacks of the panel, called from within `Desktop::processEvents`. All must be set.
struct BubbleViewEvents {
    std::function<void()> clicked;  ///< the first button was pressed on the panel, outside the edit line
    std::function<void(const std::string& text)> submitted;  ///< Enter; the edit line has been emptied
    std::function<void()> escaped;      ///< Escape, or the window manager asks to close the panel
    std::function<void()> deactivated;  ///< another window has taken the keyboard from it
};

/// The speech bubble's window: a panel with a pointer, above all ordinary windows, without an entry in task
/// bars. It has the keyboard only between `takeKeyboard` and `giveKeyboardBack`. Everything around panel and
/// pointer is see-through and takes no clicks. It must be destroyed before the `Desktop`. Threads: that of
/// the `Desktop`.
class BubbleView {
public:
    /// Returns the window, hidden; null when the system can't make it.
    static std::unique_ptr<BubbleView> create(const Desktop& desktop, const BubbleStyle& style,
                                              BubbleViewEvents events);
    ~BubbleView();
    BubbleView(const BubbleView&) = delete;
    BubbleView& operator=(const BubbleView&) = delete;

    /// Returns the height in pixels of a UTF-8 text in lines of this width, as `show` breaks them: between
    /// words, and within a word only if it alone is too wide. Returns 0 for an empty text.
    int32_t textHeight(const std::string& text, int32_t width);

    /// Shows the panel in front, without activating it. A status that is too wide ends in an ellipsis. Does
    /// nothing when the screen shows all of this already.
    void show(const BubbleLayout& layout, const std::string& text, const std::string& status);

    /// Hides the panel, after it has given the keyboard back.
    void hide();

    /// Returns whether the panel is shown; other windows may cover it.
    [[nodiscard]] bool isVisible() const;

    /// Gives the keyboard to the edit line of the shown panel, and remembers the window that had it.
    void takeKeyboard();

    /// Makes the panel refuse the keyboard again. If the panel has the keyboard, the remembered window gets
    /// it, or, when that is gone, a window of the system's choice.
    void giveKeyboardBack();

private:
    struct Parts;
    explicit BubbleView(std::unique_ptr<Parts> parts);
    std::unique_ptr<Parts> parts;
};
