#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/geometry.h"
#include "platform/head_surface.h"

// The user's desktop: its screens, its pointer, the head's window. Positions and sizes are device pixels of
// the whole desktop. Threads: the one that called `Desktop::connect`, unless stated otherwise.

/// Returns the dots per inch by which the user wants everything scaled; 96 without a display, or when it
/// doesn't say. Threads: any.
int32_t systemDpi();

/// Shows a message, in the terminal too, or without a display only there. Blocks until the user closes it, or
/// the program is asked to end.
void showErrorBox(const std::string& title, const std::string& text);

/// The connection to the display. A process makes one, before any window, and it outlives all windows.
class Desktop {
public:
    /// Returns the connection; null without a display, and `problem` is then a sentence for the terminal.
    static std::unique_ptr<Desktop> connect(std::string& problem);
    ~Desktop();
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    /// Called from within `processEvents` when screens or the areas that panels claim have changed.
    std::function<void()> screensChanged;

    /// Calls the windows' callbacks for everything that happened since the last call. Doesn't block.
    void processEvents();

    [[nodiscard]] Point cursor() const;

    /// Returns the part of the main screen that no panel or dock claims.
    [[nodiscard]] Rect primaryWorkArea() const;

    /// Returns the same for the screen that holds `point`, or is nearest to it.
    [[nodiscard]] Rect workAreaNearest(Point point) const;

private:
    struct Parts;
    explicit Desktop(std::unique_ptr<Parts> parts);
    std::unique_ptr<Parts> parts;
};

/// An action of the left button on the head. A `release` may come without a `press`. The second press of a
/// double click is reported as `press`, `doubleClick`, `release`.
enum class PointerAction { press, move, release, doubleClick };

/// The callbacks of a head window, called from within `Desktop::processEvents`.
struct HeadWindowEvents {
    std::function<void(PointerAction, Point cursor)> pointer;
    std::function<void()> closed;                     ///< the user or the window manager asks to close it
    std::function<void(Point cursor)> menuRequested;  ///< the right button went up on it; may be empty
};

/// The head's window: without frame, background and entry in task bars; it never takes the keyboard focus. It
/// is hidden until it is placed. While the left button is held on it, it gets all moves of the pointer.
class HeadWindow {
public:
    /// Returns the window; null when the system can't make it or can't draw in it, and `problem` is then a
    /// line for the log. A screen reader says `name`.
    static std::unique_ptr<HeadWindow> create(const Desktop& desktop, const std::string& name, int32_t width,
                                              int32_t height, HeadWindowEvents events, std::string& problem);
    ~HeadWindow();
    HeadWindow(const HeadWindow&) = delete;
    HeadWindow& operator=(const HeadWindow&) = delete;

    /// Returns the surface to draw on, which lives as long as the window.
    [[nodiscard]] const HeadSurface& surface() const;

    [[nodiscard]] Rect rect() const;

    /// Moves, resizes and shows the window without activating it: above all ordinary windows, or among them.
    void place(const Rect& rect, bool onTop);

    void moveTo(Point topLeft);

    void hide();

    /// Sets the pixels that take clicks, as rectangles relative to the window's top left corner. All other
    /// clicks go to what lies behind.
    void setClickable(const std::vector<Rect>& rows);

    /// Returns whether the window is above all ordinary windows now; other programs may change that.
    [[nodiscard]] bool isOnTop() const;
    void setOnTop(bool onTop);

    /// Returns the pictures per second of the window's screen; 0 when the system doesn't say.
    [[nodiscard]] double refreshRate() const;

private:
    struct Parts;
    explicit HeadWindow(std::unique_ptr<Parts> parts);
    std::unique_ptr<Parts> parts;
};
