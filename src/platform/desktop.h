#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/geometry.h"
#include "platform/head_surface.h"

// The user's desktop: its screens, its pointer, the head's window. Positions and sizes are device pixels of
// the whole desktop. Threads: the one that connected, unless said otherwise.

/// Dots per inch by which the user wants everything scaled; 96 when there is no display or it doesn't say.
/// Any thread.
int32_t systemDpi();

/// Shows a message that the user has to close, and tells the terminal too; without a display only the
/// terminal. Ends also when the program is asked to end.
void showErrorBox(const std::string& title, const std::string& text);

/// The connection to the display; one for each process, made before any window and outliving all of them.
class Desktop {
public:
    /// Null when there is no display; `problem` is then a sentence for the terminal.
    static std::unique_ptr<Desktop> connect(std::string& problem);
    ~Desktop();
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    /// Called from within `processEvents` when screens came, went or changed, or what panels claim of them.
    std::function<void()> screensChanged;

    /// Hands what happened since the last call to the windows' callbacks. Doesn't wait.
    void processEvents();

    [[nodiscard]] Point cursor() const;

    /// The part of the main screen that no panel or dock claims.
    [[nodiscard]] Rect primaryWorkArea() const;

    /// The same of the screen that holds the point, or is nearest to it.
    [[nodiscard]] Rect workAreaNearest(Point point) const;

private:
    struct Parts;
    explicit Desktop(std::unique_ptr<Parts> parts);
    std::unique_ptr<Parts> parts;
};

/// What the left button does on the head. A `release` may come without a `press`. The second press of a
/// double click comes as `press`, `doubleClick`, `release`.
enum class PointerAction { press, move, release, doubleClick };

/// What a head window reports, from within `Desktop::processEvents`.
struct HeadWindowEvents {
    std::function<void(PointerAction, Point cursor)> pointer;
    std::function<void()> closed;                     ///< the user or the window manager wants it gone
    std::function<void(Point cursor)> menuRequested;  ///< the right button went up on it; may be empty
};

/// The head's window: no frame, no background, no entry in task bars, never takes the keyboard focus. It is
/// hidden until it is placed. While the left button is held on it, it gets all the pointer's moves.
class HeadWindow {
public:
    /// Null when the system can't make such a window or can't draw in it; `problem` is then a line for the
    /// log. `name` is also what a screen reader says.
    static std::unique_ptr<HeadWindow> create(const Desktop& desktop, const std::string& name, int32_t width,
                                              int32_t height, HeadWindowEvents events, std::string& problem);
    ~HeadWindow();
    HeadWindow(const HeadWindow&) = delete;
    HeadWindow& operator=(const HeadWindow&) = delete;

    /// Lives as long as the window.
    [[nodiscard]] const HeadSurface& surface() const;

    [[nodiscard]] Rect rect() const;

    /// Moves, sizes and shows it, without activating it, above all ordinary windows or among them.
    void place(const Rect& rect, bool onTop);

    void moveTo(Point topLeft);

    /// Takes it off the screen.
    void hide();

    /// Only these pixels, given as rectangles from the window's top left corner, take clicks; all others go
    /// to what lies behind.
    void setClickable(const std::vector<Rect>& rows);

    /// Whether it is above all ordinary windows now; others may have changed that.
    [[nodiscard]] bool isOnTop() const;
    void setOnTop(bool onTop);

    /// Pictures per second of the screen that it is on; 0 when the system doesn't say.
    [[nodiscard]] double refreshRate() const;

private:
    struct Parts;
    explicit HeadWindow(std::unique_ptr<Parts> parts);
    std::unique_ptr<Parts> parts;
};
