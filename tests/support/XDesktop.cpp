#include "support/XDesktop.h"

#include <stdlib.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "support/Soon.h"
#include "support/TestData.h"
#include "support/TestProgram.h"

namespace {

struct Free {
    void operator()(void* reply) const { free(reply); }
};

/// A reply of the X server, null when the request failed: as a rule because its window is gone.
template <typename Reply>
std::unique_ptr<Reply, Free> own(Reply* reply) {
    return std::unique_ptr<Reply, Free>(reply);
}

uint32_t pixelOf(const Colour& colour) {
    return uint32_t{colour.red} << 16 | uint32_t{colour.green} << 8 | colour.blue;
}

/// Returns the display number that the X server writes on a line of its own once it is ready.
std::string displayNumber(const std::string& log) {
    std::smatch number;
    return std::regex_search(log, number, std::regex("(^|\n)([0-9]+)\n")) ? number[2].str() : "";
}

// NOLINTBEGIN(concurrency-mt-unsafe): no other thread runs, as the header demands.
/// Points what is started from now on to this desktop, and to no service of the user's own.
void enter(const std::string& folder) {
    for (const char* variable : {"HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"})
        setenv(variable, folder.c_str(), 1);
    for (const char* variable : {"WAYLAND_DISPLAY", "XAUTHORITY", "XDG_CURRENT_DESKTOP", "XDG_SESSION_TYPE",
                                 "QT_QPA_PLATFORM", "QT_SCALE_FACTOR"}) {
        unsetenv(variable);
    }
    setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + folder + "/no-bus").c_str(), 1);
    // The driver of a graphics card doesn't know this X server.
    setenv("LIBGL_ALWAYS_SOFTWARE", "1", 1);
}
// NOLINTEND(concurrency-mt-unsafe)

}  // namespace

const Colour& Screenshot::at(int32_t x, int32_t y) const {
    if (x < 0 || y < 0 || x >= width || y >= height) throw std::runtime_error("a place beside the picture");
    return pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
}

XDesktop::XDesktop(Kind kind) {
    enter(folder.path);
    startProgram({"Xvfb", "-displayfd", "1", "-screen", "0",
                  std::to_string(width) + "x" + std::to_string(height) + "x24", "-dpi", "96", "-noreset",
                  "-nolisten", "tcp"});
    std::string number;
    waitFor("Xvfb", [&] { return !(number = displayNumber(logOf("Xvfb"))).empty(); });
    setenv("DISPLAY", (":" + number).c_str(), 1);  // NOLINT(concurrency-mt-unsafe): as above
    connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection) != 0) throw std::runtime_error("no way to display :" + number);
    root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;

    if (kind == Kind::bare) return;
    // It announces itself before it looks after windows. The start command comes last.
    const std::string mark = folder.path + "/openbox-is-up";
    startProgram({"openbox", "--sm-disable", "--startup", "touch " + mark});
    waitFor("openbox", [&] { return std::filesystem::exists(mark); });
    if (kind == Kind::composited) startCompositor();
}

void XDesktop::startCompositor() {
    startProgram({"picom", "--backend", "xrender", "--config", "/dev/null"});
    // It announces itself before it draws. Then the bare screen, black until now, is grey.
    waitFor("picom", [this] { return picture({0, 0, 1, 1}).at(0, 0) != Colour{}; });
}

void XDesktop::stopCompositor() {
    programs.pop_back();
}

void XDesktop::startTray() {
    startProgram({"trayer", "--edge", "top", "--align", "right", "--height", "32"});
    waitFor("trayer", [this] {
        const auto cookie = xcb_get_selection_owner(connection, atom("_NET_SYSTEM_TRAY_S0"));
        const auto owner = own(xcb_get_selection_owner_reply(connection, cookie, nullptr));
        return owner && owner->owner != XCB_WINDOW_NONE;
    });
}

XDesktop::~XDesktop() {
    if (connection != nullptr) xcb_disconnect(connection);
    // The X server goes last: without it the others would end in an error.
    while (!programs.empty())
        programs.pop_back();
}

void XDesktop::startProgram(const std::vector<std::string>& words) {
    programs.push_back(std::make_unique<TestProgram>(words, folder.path + "/" + words[0] + ".log"));
}

std::string XDesktop::logOf(const std::string& program) const {
    return fileText(folder.path + "/" + program + ".log");
}

void XDesktop::waitFor(const std::string& program, const std::function<bool()>& isUp) {
    const bool isSo = soon([&] { return isUp() || programs.back()->result().has_value(); });
    if (!isSo || programs.back()->result()) {
        throw std::runtime_error(program + " doesn't come up: " + logOf(program));
    }
}

Screenshot XDesktop::picture(const Rect& area) const {
    Screenshot picture{area.width(), area.height(), {}};
    picture.pixels.resize(static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height));
    const Rect seen{std::max(area.left, 0), std::max(area.top, 0), std::min(area.right, width),
                    std::min(area.bottom, height)};
    if (seen.width() <= 0 || seen.height() <= 0) return picture;
    const auto cookie =
        xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, root, static_cast<int16_t>(seen.left),
                      static_cast<int16_t>(seen.top), static_cast<uint16_t>(seen.width()),
                      static_cast<uint16_t>(seen.height()), ~0U);
    const auto image = own(xcb_get_image_reply(connection, cookie, nullptr));
    if (!image) throw std::runtime_error("the screen can't be read");
    // Four bytes for each pixel of the server's 24 bit depth, blue first.
    const uint8_t* bytes = xcb_get_image_data(image.get());
    for (int32_t y = seen.top; y < seen.bottom; ++y) {
        for (int32_t x = seen.left; x < seen.right; ++x, bytes += 4) {
            const int32_t index = (y - area.top) * picture.width + x - area.left;
            picture.pixels[static_cast<size_t>(index)] = {bytes[2], bytes[1], bytes[0]};
        }
    }
    return picture;
}

void XDesktop::paintBackdrop(const Colour& first, const Colour& second) {
    if (backdrop == 0) {
        // Unmanaged: a window manager would put a frame around it and raise it when it is clicked.
        const uint32_t values[] = {1, XCB_EVENT_MASK_BUTTON_PRESS};
        backdrop = xcb_generate_id(connection);
        xcb_create_window(connection, XCB_COPY_FROM_PARENT, backdrop, root, 0, 0, width, height, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                          XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
        xcb_map_window(connection, backdrop);
        const uint32_t lowest = XCB_STACK_MODE_BELOW;
        xcb_configure_window(connection, backdrop, XCB_CONFIG_WINDOW_STACK_MODE, &lowest);
    }
    const xcb_pixmap_t tile = xcb_generate_id(connection);
    const xcb_gcontext_t pen = xcb_generate_id(connection);
    constexpr uint16_t side = square;
    xcb_create_pixmap(connection, 24, tile, backdrop, 2 * side, 2 * side);
    xcb_create_gc(connection, pen, tile, 0, nullptr);
    const xcb_rectangle_t firstSquares[] = {{0, 0, side, side}, {side, side, side, side}};
    const xcb_rectangle_t secondSquares[] = {{side, 0, side, side}, {0, side, side, side}};
    uint32_t value = pixelOf(first);
    xcb_change_gc(connection, pen, XCB_GC_FOREGROUND, &value);
    xcb_poly_fill_rectangle(connection, tile, pen, 2, firstSquares);
    value = pixelOf(second);
    xcb_change_gc(connection, pen, XCB_GC_FOREGROUND, &value);
    xcb_poly_fill_rectangle(connection, tile, pen, 2, secondSquares);
    xcb_change_window_attributes(connection, backdrop, XCB_CW_BACK_PIXMAP, &tile);
    xcb_free_gc(connection, pen);
    xcb_free_pixmap(connection, tile);
    xcb_clear_area(connection, 0, backdrop, 0, 0, 0, 0);
    if (!soon([&] { return picture({0, 0, 1, 1}).at(0, 0) == first; })) {
        throw std::runtime_error("the backdrop isn't painted");
    }
}

int32_t XDesktop::backdropPresses() {
    while (const auto event = own(xcb_poll_for_event(connection))) {
        if ((event->response_type & 0x7F) != XCB_BUTTON_PRESS) continue;
        pressCount += reinterpret_cast<const xcb_button_press_event_t*>(event.get())->detail == 1 ? 1 : 0;
    }
    return pressCount;
}

XDesktop::Window XDesktop::openUserWindow() {
    const Window window = xcb_generate_id(connection);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, root, 40, 40, 200, 120, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_map_window(connection, window);
    xcb_flush(connection);
    const bool isManaged = !numbersOf(root, "_NET_SUPPORTING_WM_CHECK").empty();
    if (!isManaged) act("windowfocus " + std::to_string(window));
    if (!soon([&] { return focus() == window && (!isManaged || activeWindow() == window); })) {
        throw std::runtime_error("a new window doesn't get the focus");
    }
    return window;
}

XDesktop::Window XDesktop::findWindow(const std::string& title, pid_t pid) const {
    return findBelow(root, title, pid);
}

XDesktop::Window XDesktop::findBelow(Window parent, const std::string& title, pid_t pid) const {
    for (const Window child : shownChildren(parent)) {
        const bool isOurs = numbersOf(child, "_NET_WM_PID") == std::vector{static_cast<uint32_t>(pid)};
        if (isOurs && textOf(child, "_NET_WM_NAME") == title) return child;
        if (const Window found = findBelow(child, title, pid); found != 0) return found;
    }
    return 0;
}

std::vector<XDesktop::Window> XDesktop::shownChildren(Window parent) const {
    const auto treeCookie = xcb_query_tree(connection, parent);
    const auto tree = own(xcb_query_tree_reply(connection, treeCookie, nullptr));
    if (!tree) return {};
    const Window* children = xcb_query_tree_children(tree.get());
    std::vector<Window> shown(children, children + xcb_query_tree_children_length(tree.get()));
    std::erase_if(shown, [this](Window child) {
        const auto cookie = xcb_get_window_attributes(connection, child);
        const auto attributes = own(xcb_get_window_attributes_reply(connection, cookie, nullptr));
        return !attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE;
    });
    return shown;
}

Rect XDesktop::rectangle(Window window) const {
    const auto sizeCookie = xcb_get_geometry(connection, window);
    const auto placeCookie = xcb_translate_coordinates(connection, window, root, 0, 0);
    const auto size = own(xcb_get_geometry_reply(connection, sizeCookie, nullptr));
    const auto place = own(xcb_translate_coordinates_reply(connection, placeCookie, nullptr));
    if (!size || !place) return {};
    return {place->dst_x, place->dst_y, place->dst_x + size->width, place->dst_y + size->height};
}

std::vector<std::string> XDesktop::atomsOf(Window window, const std::string& property) const {
    std::vector<std::string> names;
    for (const uint32_t number : numbersOf(window, property)) {
        const auto cookie = xcb_get_atom_name(connection, number);
        const auto reply = own(xcb_get_atom_name_reply(connection, cookie, nullptr));
        if (!reply) continue;
        const auto length = static_cast<size_t>(xcb_get_atom_name_name_length(reply.get()));
        names.emplace_back(xcb_get_atom_name_name(reply.get()), length);
    }
    return names;
}

XDesktop::Window XDesktop::focus() const {
    const auto cookie = xcb_get_input_focus(connection);
    const auto reply = own(xcb_get_input_focus_reply(connection, cookie, nullptr));
    return reply ? reply->focus : 0;
}

XDesktop::Window XDesktop::activeWindow() const {
    const std::vector<uint32_t> active = numbersOf(root, "_NET_ACTIVE_WINDOW");
    return active.empty() ? 0 : active[0];
}

void XDesktop::removeState(Window window, const std::string& state) const {
    constexpr uint32_t remove = 0;
    constexpr uint32_t fromPager = 2;
    sendMessage(window, root, "_NET_WM_STATE", {remove, atom(state), 0, fromPager});
}

void XDesktop::close(Window window) const {
    sendMessage(window, window, "WM_PROTOCOLS", {atom("WM_DELETE_WINDOW"), XCB_CURRENT_TIME});
}

void XDesktop::act(const std::string& words) const {
    std::vector<std::string> command = {"xdotool"};
    std::istringstream stream(words);
    for (std::string word; stream >> word;)
        command.push_back(word);
    TestProgram xdotool(command, folder.path + "/xdotool.log");
    if (xdotool.wait() != 0) throw std::runtime_error("xdotool " + words + ": " + logOf("xdotool"));
}

uint32_t XDesktop::atom(const std::string& name) const {
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<uint16_t>(name.size()), name.c_str());
    const auto reply = own(xcb_intern_atom_reply(connection, cookie, nullptr));
    if (!reply) throw std::runtime_error("the X server is gone: " + logOf("Xvfb"));
    return reply->atom;
}

std::vector<uint32_t> XDesktop::numbersOf(Window window, const std::string& property) const {
    const auto cookie =
        xcb_get_property(connection, 0, window, atom(property), XCB_GET_PROPERTY_TYPE_ANY, 0, 100);
    const auto reply = own(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply || reply->format != 32) return {};
    const auto* numbers = static_cast<const uint32_t*>(xcb_get_property_value(reply.get()));
    return {numbers, numbers + reply->value_len};
}

std::string XDesktop::textOf(Window window, const std::string& property) const {
    const auto cookie =
        xcb_get_property(connection, 0, window, atom(property), XCB_GET_PROPERTY_TYPE_ANY, 0, 100);
    const auto reply = own(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply || reply->format != 8) return "";
    return {static_cast<const char*>(xcb_get_property_value(reply.get())), reply->value_len};
}

void XDesktop::sendMessage(Window window, Window receiver, const std::string& type,
                           const std::vector<uint32_t>& numbers) const {
    xcb_client_message_event_t message = {};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom(type);
    std::copy(numbers.begin(), numbers.end(), message.data.data32);
    const uint32_t mask = receiver == root
                              ? XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY
                              : XCB_EVENT_MASK_NO_EVENT;
    xcb_send_event(connection, 0, receiver, mask, reinterpret_cast<const char*>(&message));
    xcb_flush(connection);
}
