#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/geometry.h"
#include "support/TemporaryFolder.h"

struct xcb_connection_t;
class TestProgram;

/// A colour as it is on the screen.
struct Colour {
    uint8_t red = 0;
    uint8_t green = 0;
    uint8_t blue = 0;
    bool operator==(const Colour&) const = default;
};

/// A part of the screen as it was at one moment.
struct Screenshot {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<Colour> pixels;  ///< row by row, the top one first

    [[nodiscard]] const Colour& at(int32_t x, int32_t y) const;

    /// Writes it as a PNG file for a person to look at.
    void save(const std::string& path) const;
};

/// A private desktop without a screen, and a client of it: an X server with a window manager and a
/// compositor if they are wanted, with nothing of the user's own. It goes with all its programs when the
/// object does.
///
/// Making one points DISPLAY, HOME and the like of this process to it, for all programs that are started
/// later. One at a time. Whatever goes wrong throws std::runtime_error, with what the programs said.
///
/// Threads: one at a time; the environment is changed, so no other may run when it is made.
class XDesktop {
public:
    static constexpr int32_t width = 1000;
    static constexpr int32_t height = 700;
    using Window = uint32_t;  ///< 0 is none

    enum class Kind { bare, managed, composited };
    explicit XDesktop(Kind kind);
    ~XDesktop();
    XDesktop(const XDesktop&) = delete;
    XDesktop& operator=(const XDesktop&) = delete;

    void startCompositor();
    void stopCompositor();  ///< of what was started last

    /// Shows a panel with a tray for icons along the upper edge.
    void startTray();

    /// What is on the screen within `area`, which may stick out over its edges; black lies there.
    Screenshot picture(const Rect& area = {0, 0, width, height}) const;

    /// Puts a window over the whole screen, below all others: a checkered one, its squares `square` pixels
    /// wide, the first in the corner of the screen, where no window may lie. A second call repaints it.
    void paintBackdrop(const Colour& first, const Colour& second);
    static constexpr int32_t square = 8;

    /// The presses of the first button that have reached the backdrop until now.
    int32_t backdropPresses();

    /// Opens an ordinary window with the keyboard focus: what the user works with.
    Window openUserWindow();

    /// The window with this title that belongs to process `pid` and is to be seen; 0 when there is none.
    Window findWindow(const std::string& title, pid_t pid) const;

    Rect rectangle(Window window) const;

    /// The names of the atoms in a property, such as _NET_WM_STATE; none when the window lacks it.
    std::vector<std::string> atomsOf(Window window, const std::string& property) const;

    Window focus() const;         ///< the window that gets the keys
    Window activeWindow() const;  ///< the one that the window manager calls active, 0 without either

    /// Asks the window manager to take a state such as "_NET_WM_STATE_ABOVE" off a window, as a pager does.
    void removeState(Window window, const std::string& state) const;

    /// Asks a window to close, as the cross in its frame does.
    void close(Window window) const;

    /// Uses the mouse and the keyboard: words of xdotool's own, as "mousemove 10 20 click 1" or "key Tab".
    void act(const std::string& words) const;

    TemporaryFolder folder;  ///< HOME of the desktop's programs; their logs lie there

private:
    uint32_t atom(const std::string& name) const;
    std::vector<uint32_t> numbersOf(Window window, const std::string& property) const;
    std::string textOf(Window window, const std::string& property) const;
    std::vector<Window> shownChildren(Window parent) const;
    Window findBelow(Window parent, const std::string& title, pid_t pid) const;
    void sendMessage(Window window, Window receiver, const std::string& type,
                     const std::vector<uint32_t>& numbers) const;
    void startProgram(const std::vector<std::string>& words);
    /// Until `isUp`, for the program that was started last; throws when it ends or isn't up in time.
    void waitFor(const std::string& program, const std::function<bool()>& isUp);
    std::string logOf(const std::string& program) const;

    std::vector<std::unique_ptr<TestProgram>> programs;
    xcb_connection_t* connection = nullptr;
    Window root = 0;
    Window backdrop = 0;
    int32_t pressCount = 0;
};
