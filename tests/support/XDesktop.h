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
};

/// A private desktop without a screen: an X server, with a window manager and a compositor on request. It
/// ends with the object. Making one points DISPLAY, HOME and the like of this process to it. Failures throw
/// std::runtime_error with what the programs said.
///
/// Threads: one at a time. No other thread may run when it is made, because it changes the environment.
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
    void stopCompositor();  ///< ends the program that was started last
    void startTray();       ///< shows a panel with a tray along the upper edge

    /// Returns what is on the screen within `area`. Outside the screen everything is black.
    Screenshot picture(const Rect& area = {0, 0, width, height}) const;

    /// Covers the screen with a checkered window below all others; its squares are `square` pixels wide. A
    /// second call repaints it. No window may lie in the screen's corner.
    void paintBackdrop(const Colour& first, const Colour& second);
    static constexpr int32_t square = 8;

    int32_t backdropPresses();  ///< presses of the first button that have reached the backdrop so far

    Window openUserWindow();  ///< opens an ordinary window with the keyboard focus

    /// Returns the visible window of process `pid` with this title; 0 when there is none.
    Window findWindow(const std::string& title, pid_t pid) const;

    Rect rectangle(Window window) const;

    /// Returns the names of the atoms in a property such as _NET_WM_STATE.
    std::vector<std::string> atomsOf(Window window, const std::string& property) const;

    Window focus() const;         ///< the window that gets the keys
    Window activeWindow() const;  ///< by the window manager; 0 without one

    /// Takes a state such as "_NET_WM_STATE_ABOVE" off a window, as a pager does.
    void removeState(Window window, const std::string& state) const;

    void close(Window window) const;  ///< asks a window to close, as the cross in its frame does

    /// Uses mouse and keyboard by the words of xdotool: "mousemove 10 20 click 1" or "key Tab".
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
    /// Blocks until the program that was started last is up; throws when it ends or isn't up in time.
    void waitFor(const std::string& program, const std::function<bool()>& isUp);
    std::string logOf(const std::string& program) const;

    std::vector<std::unique_ptr<TestProgram>> programs;
    xcb_connection_t* connection = nullptr;
    Window root = 0;
    Window backdrop = 0;
    int32_t pressCount = 0;
};
