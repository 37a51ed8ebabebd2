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

/// How the panel looks, for as long as it lives. Sizes are pixels.
struct BubbleStyle {
    const char* fontFamily = "";  ///< where the system lacks it, its own font for windows takes its place
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

/// Where everything is.
struct BubbleLayout {
    Rect window;                   ///< on the screen; all else is given from its top left corner
    bool above = true;             ///< it stands above what it belongs to
    Rect body;                     ///< the rounded panel with its border
    Rect text;                     ///< of the main text the lines in here are seen
    int32_t textTop = 0;           ///< where its first line begins, perhaps far above what is seen
    Rect status;                   ///< of the status line; empty when there is none
    Rect edit;                     ///< of the edit line; empty when there is none
    std::array<Point, 3> pointer;  ///< the triangle that makes one shape with the body; the last is its tip
    bool operator==(const BubbleLayout&) const = default;
};

/// What the panel reports, from within `Desktop::processEvents`. All must be set.
struct BubbleViewEvents {
    std::function<void()> clicked;  ///< the first button went down on the panel, beside the edit line
    std::function<void(const std::string& text)> submitted;  ///< Enter; the edit line is empty again
    std::function<void()> escaped;      ///< Escape, or the window manager wants the panel gone
    std::function<void()> deactivated;  ///< it had the keyboard, and another window has it now
};

/// The speech bubble's window: a panel with a pointer, above all ordinary windows, without an entry in task
/// bars. It shows what it is handed and takes the keyboard only between `takeKeyboard` and
/// `giveKeyboardBack`. What isn't panel or pointer is see-through and takes no clicks. Goes before the
/// `Desktop` does. Threads: the one that connected to the desktop.
class BubbleView {
public:
    /// Hidden at first. Null when the system can't make such a window.
    static std::unique_ptr<BubbleView> create(const Desktop& desktop, const BubbleStyle& style,
                                              BubbleViewEvents events);
    ~BubbleView();
    BubbleView(const BubbleView&) = delete;
    BubbleView& operator=(const BubbleView&) = delete;

    /// The height in pixels of a UTF-8 text, broken into lines of this width as `show` does it: between
    /// words, within one only where it alone is too wide. 0 for an empty text.
    int32_t textHeight(const std::string& text, int32_t width);

    /// Shows the panel and brings it to the front, without activating it. A status that is too wide ends in
    /// an ellipsis. Does nothing when all of this is on the screen already.
    void show(const BubbleLayout& layout, const std::string& text, const std::string& status);

    /// Gives the keyboard back first.
    void hide();

    /// Whether it is shown; it may still be covered.
    [[nodiscard]] bool isVisible() const;

    /// Gives the keyboard to the edit line of the shown panel, and remembers which window the user worked
    /// with.
    void takeKeyboard();

    /// From now on the panel doesn't take the keyboard. If it has it, that window gets it back, provided that
    /// it is still on the screen; else the system chooses one.
    void giveKeyboardBack();

private:
    struct Parts;
    explicit BubbleView(std::unique_ptr<Parts> parts);
    std::unique_ptr<Parts> parts;
};
