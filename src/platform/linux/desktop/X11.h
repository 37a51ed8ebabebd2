#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/geometry.h"

// What Qt doesn't offer of a window under X11. The connection may be null (another windowing system is in
// use): then nothing happens. Replies are waited for, a fraction of a millisecond each.

namespace x11 {

/// The one that Qt talks to the display with.
xcb_connection_t* connection();

xcb_atom_t atom(xcb_connection_t* connection, const std::string& name);

/// Puts these atoms into the window's `_NET_WM_STATE` before it is first shown.
void setInitialState(xcb_connection_t* connection, xcb_window_t window,
                     const std::vector<std::string>& states);

/// Asks the window manager to add a state to a window on screen, or to take it away.
void requestState(xcb_connection_t* connection, xcb_window_t window, const std::string& state, bool add);

bool hasState(xcb_connection_t* connection, xcb_window_t window, const std::string& state);

void setCardinals(xcb_connection_t* connection, xcb_window_t window, const std::string& property,
                  const std::vector<uint32_t>& values);

/// The class by which rules of window managers know the window.
void setClass(xcb_connection_t* connection, xcb_window_t window, const std::string& instance,
              const std::string& name);

/// Where the window is on the screen now, without its frame; nothing when there is no telling.
std::optional<Rect> rectangle(xcb_connection_t* connection, xcb_window_t window);

enum class Shape : uint8_t { outline = 0, input = 2 };

/// Cuts the window's outline or what takes clicks to these rectangles, given from its top left corner.
void setShape(xcb_connection_t* connection, xcb_window_t window, Shape shape, const std::vector<Rect>& rows);

/// Takes a cut back.
void clearShape(xcb_connection_t* connection, xcb_window_t window, Shape shape);

/// Whether something blends the windows of this window's screen with what lies behind them.
bool hasCompositor(xcb_connection_t* connection, xcb_window_t window);

/// Whether the window exists and is on the screen, be it covered.
bool isShown(xcb_connection_t* connection, xcb_window_t window);

/// The window that gets the keys; none when nothing does.
xcb_window_t focus(xcb_connection_t* connection);

/// What the user works with on the screen of `window`: the window that the window manager calls active, or,
/// where none manages, the one that gets the keys. May be none.
xcb_window_t activeWindow(xcb_connection_t* connection, xcb_window_t window);

/// Gives the keys to a window on the screen, by way of the window manager if there is one.
void activate(xcb_connection_t* connection, xcb_window_t window);

}  // namespace x11
