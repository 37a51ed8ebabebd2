#include "platform/linux/desktop/X11.h"

#include <xcb/shape.h>

#include <QGuiApplication>
#include <algorithm>
#include <cstdlib>
#include <memory>

namespace {

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename Type>
using Reply = std::unique_ptr<Type, FreeReply>;

/// The root of the screen that the window is on.
xcb_window_t rootOf(xcb_connection_t* connection, xcb_window_t window) {
    const auto cookie = xcb_get_geometry(connection, window);
    const Reply<xcb_get_geometry_reply_t> reply(xcb_get_geometry_reply(connection, cookie, nullptr));
    return reply ? reply->root : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
}

/// The number by which the X server knows the screen with this root.
int screenNumber(xcb_connection_t* connection, xcb_window_t root) {
    int number = 0;
    for (auto screen = xcb_setup_roots_iterator(xcb_get_setup(connection)); screen.rem > 0;
         xcb_screen_next(&screen)) {
        if (screen.data->root == root) return number;
        ++number;
    }
    return 0;
}

/// The numbers in a property, none when the window lacks it.
std::vector<uint32_t> numbers(xcb_connection_t* connection, xcb_window_t window,
                              const std::string& property) {
    constexpr uint32_t most = 64;
    const auto cookie = xcb_get_property(connection, 0, window, x11::atom(connection, property),
                                         XCB_GET_PROPERTY_TYPE_ANY, 0, most);
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply || reply->format != 32) return {};
    const auto* first = static_cast<const uint32_t*>(xcb_get_property_value(reply.get()));
    return {first, first + xcb_get_property_value_length(reply.get()) / sizeof(uint32_t)};
}

/// Sends a request for a window to the window manager.
void ask(xcb_connection_t* connection, xcb_window_t window, const std::string& type,
         const std::vector<uint32_t>& data) {
    xcb_client_message_event_t event = {};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = x11::atom(connection, type);
    std::copy(data.begin(), data.end(), event.data.data32);
    xcb_send_event(connection, 0, rootOf(connection, window),
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&event));
    xcb_flush(connection);
}

/// Whether a window manager looks after this screen. One that ended without a word leaves its mark on the
/// root, but not the window that the mark names.
bool isManaged(xcb_connection_t* connection, xcb_window_t root) {
    const std::string mark = "_NET_SUPPORTING_WM_CHECK";
    const std::vector<uint32_t> named = numbers(connection, root, mark);
    return !named.empty() && numbers(connection, named[0], mark) == named;
}

}  // namespace

namespace x11 {

xcb_connection_t* connection() {
    const auto* x11Application = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11Application == nullptr ? nullptr : x11Application->connection();
}

xcb_atom_t atom(xcb_connection_t* connection, const std::string& name) {
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<uint16_t>(name.size()), name.data());
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

void setInitialState(xcb_connection_t* connection, xcb_window_t window,
                     const std::vector<std::string>& names) {
    if (connection == nullptr) return;
    std::vector<xcb_atom_t> atoms;
    atoms.reserve(names.size());
    for (const std::string& name : names)
        atoms.push_back(atom(connection, name));
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, atom(connection, "_NET_WM_STATE"),
                        XCB_ATOM_ATOM, 32, static_cast<uint32_t>(atoms.size()), atoms.data());
}

void requestState(xcb_connection_t* connection, xcb_window_t window, const std::string& state, bool add) {
    if (connection == nullptr) return;
    constexpr uint32_t fromApplication = 1;
    ask(connection, window, "_NET_WM_STATE", {add ? 1U : 0U, atom(connection, state), 0, fromApplication});
}

bool hasState(xcb_connection_t* connection, xcb_window_t window, const std::string& state) {
    if (connection == nullptr) return false;
    const std::vector<xcb_atom_t> atoms = numbers(connection, window, "_NET_WM_STATE");
    return std::find(atoms.begin(), atoms.end(), atom(connection, state)) != atoms.end();
}

void setCardinals(xcb_connection_t* connection, xcb_window_t window, const std::string& property,
                  const std::vector<uint32_t>& values) {
    if (connection == nullptr) return;
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, atom(connection, property),
                        XCB_ATOM_CARDINAL, 32, static_cast<uint32_t>(values.size()), values.data());
}

void setClass(xcb_connection_t* connection, xcb_window_t window, const std::string& instance,
              const std::string& name) {
    if (connection == nullptr) return;
    const std::string both = instance + '\0' + name + '\0';
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                        static_cast<uint32_t>(both.size()), both.data());
}

std::optional<Rect> rectangle(xcb_connection_t* connection, xcb_window_t window) {
    if (connection == nullptr) return std::nullopt;
    const auto sizeCookie = xcb_get_geometry(connection, window);
    const Reply<xcb_get_geometry_reply_t> size(xcb_get_geometry_reply(connection, sizeCookie, nullptr));
    if (!size) return std::nullopt;
    const auto placeCookie = xcb_translate_coordinates(connection, window, size->root, 0, 0);
    const Reply<xcb_translate_coordinates_reply_t> place(
        xcb_translate_coordinates_reply(connection, placeCookie, nullptr));
    if (!place) return std::nullopt;
    return Rect{place->dst_x, place->dst_y, place->dst_x + size->width, place->dst_y + size->height};
}

void setShape(xcb_connection_t* connection, xcb_window_t window, Shape shape, const std::vector<Rect>& rows) {
    if (connection == nullptr) return;
    std::vector<xcb_rectangle_t> rectangles;
    rectangles.reserve(rows.size());
    for (const Rect& row : rows) {
        rectangles.push_back({static_cast<int16_t>(row.left), static_cast<int16_t>(row.top),
                              static_cast<uint16_t>(row.width()), static_cast<uint16_t>(row.height())});
    }
    xcb_shape_rectangles(connection, XCB_SHAPE_SO_SET, static_cast<xcb_shape_kind_t>(shape),
                         XCB_CLIP_ORDERING_UNSORTED, window, 0, 0, static_cast<uint32_t>(rectangles.size()),
                         rectangles.data());
    xcb_flush(connection);
}

void clearShape(xcb_connection_t* connection, xcb_window_t window, Shape shape) {
    if (connection == nullptr) return;
    xcb_shape_mask(connection, XCB_SHAPE_SO_SET, static_cast<xcb_shape_kind_t>(shape), window, 0, 0,
                   XCB_PIXMAP_NONE);
    xcb_flush(connection);
}

bool hasCompositor(xcb_connection_t* connection, xcb_window_t window) {
    if (connection == nullptr) return true;
    const int screen = screenNumber(connection, rootOf(connection, window));
    const auto cookie =
        xcb_get_selection_owner(connection, atom(connection, "_NET_WM_CM_S" + std::to_string(screen)));
    const Reply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(connection, cookie, nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

bool isShown(xcb_connection_t* connection, xcb_window_t window) {
    if (connection == nullptr) return false;
    const auto cookie = xcb_get_window_attributes(connection, window);
    const Reply<xcb_get_window_attributes_reply_t> reply(
        xcb_get_window_attributes_reply(connection, cookie, nullptr));
    return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
}

xcb_window_t focus(xcb_connection_t* connection) {
    if (connection == nullptr) return XCB_WINDOW_NONE;
    const auto cookie = xcb_get_input_focus(connection);
    const Reply<xcb_get_input_focus_reply_t> reply(xcb_get_input_focus_reply(connection, cookie, nullptr));
    return reply && reply->focus != XCB_INPUT_FOCUS_POINTER_ROOT ? reply->focus
                                                                 : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
}

xcb_window_t activeWindow(xcb_connection_t* connection, xcb_window_t window) {
    if (connection == nullptr) return XCB_WINDOW_NONE;
    const xcb_window_t root = rootOf(connection, window);
    if (!isManaged(connection, root)) return focus(connection);
    const std::vector<uint32_t> active = numbers(connection, root, "_NET_ACTIVE_WINDOW");
    return active.empty() ? static_cast<xcb_window_t>(XCB_WINDOW_NONE) : active[0];
}

void activate(xcb_connection_t* connection, xcb_window_t window) {
    if (connection == nullptr) return;
    if (isManaged(connection, rootOf(connection, window))) {
        // As a pager: what an application asks for may be denied.
        constexpr uint32_t fromPager = 2;
        ask(connection, window, "_NET_ACTIVE_WINDOW", {fromPager, XCB_CURRENT_TIME});
        return;
    }
    xcb_set_input_focus(connection, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
    xcb_flush(connection);
}

}  // namespace x11
