#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/geometry.h"

// Operations on X11 windows that Qt doesn't offer. The connection may be null, under another windowing
// system: then nothing happens. Calls with a reply block for a fraction of a millisecond.

namespace x11 {

/// Returns Qt's connection to the display.
xcb_connection_t* connection();

xcb_atom_t atom(xcb_connection_t* connection, const std::string& name);

/// Puts these atoms into the window's `_NET_WM_STATE` before it is first shown.
void setInitialState(xcb_connection_t* connection, xcb_window_t window,
                     const std::vector<std::string>& states);

/// Asks the window manager to add a state to a shown window, or to remove it.
void requestState(xcb_connection_t* connection, xcb_window_t window, const std::string& state, bool add);

bool hasState(xcb_connection_t* connection, xcb_window_t window, const std::string& state);

void setCardinals(xcb_connection_t* connection, xcb_window_t window, const std::string& property,
                  const std::vector<uint32_t>& values);

/// Sets the class that rules of window managers refer to.
void setClass(xcb_connection_t* connection, xcb_window_t window, const std::string& instance,
              const std::string& name);

/// Returns the window's place on the screen, without its frame; nothing when it can't be found out.
std::optional<Rect> rectangle(xcb_connection_t* connection, xcb_window_t window);

enum class Shape : uint8_t { outline = 0, input = 2 };

/// Limits the window's outline, or the part that takes clicks, to these rectangles, relative to its top left
/// corner.
void setShape(xcb_connection_t* connection, xcb_window_t window, Shape shape, const std::vector<Rect>& rows);

/// Removes such a limit.
void clearShape(xcb_connection_t* connection, xcb_window_t window, Shape shape);

/// Returns whether a compositor blends the windows of this window's screen.
bool hasCompositor(xcb_connection_t* connection, xcb_window_t window);

/// Returns whether the window exists and is shown, even if other windows cover it.
bool isShown(xcb_connection_t* connection, xcb_window_t window);

/// Returns the window that has the keyboard; none when nothing has it.
xcb_window_t focus(xcb_connection_t* connection);

/// Returns the active window on the screen of `window`: by the window manager, or, without one, the window
/// that has the keyboard. May be none.
xcb_window_t activeWindow(xcb_connection_t* connection, xcb_window_t window);

/// Gives the keyboard to a shown window, through the window manager if there is one.
void activate(xcb_connection_t* connection, xcb_window_t window);

}  // namespace x11
