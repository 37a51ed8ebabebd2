#include "platform/desktop.h"

#include <xcb/xcb.h>

#include <QAccessible>
#include <QApplication>
#include <QCursor>
#include <QMessageBox>
#include <QScreen>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "platform/linux/desktop/FaceIcon.h"
#include "platform/system.h"

namespace {

using Connection = std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)>;

Connection connectToDisplay() {
    return {xcb_connect(nullptr, nullptr), xcb_disconnect};
}

/// The number behind a name in the X resources, 0 when it isn't there.
int32_t resource(std::string_view resources, std::string_view name) {
    const size_t at = resources.find(name);
    return at == std::string_view::npos ? 0 : std::atoi(resources.data() + at + name.size());
}

int32_t readSystemDpi() {
    constexpr int32_t usual = 96;
    constexpr int32_t most = 480;  // a larger one is a mistake that would leave no room for a window
    const Connection connection = connectToDisplay();
    if (xcb_connection_has_error(connection.get()) != 0) return usual;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
    constexpr uint32_t longest = 65536;
    const auto cookie =
        xcb_get_property(connection.get(), 0, root, XCB_ATOM_RESOURCE_MANAGER, XCB_ATOM_STRING, 0, longest);
    xcb_get_property_reply_t* reply = xcb_get_property_reply(connection.get(), cookie, nullptr);
    if (reply == nullptr) return usual;
    const std::string resources(static_cast<const char*>(xcb_get_property_value(reply)),
                                static_cast<size_t>(xcb_get_property_value_length(reply)));
    std::free(reply);
    const int32_t dpi = resource("\n" + resources, "\nXft.dpi:");
    return dpi > 0 && dpi <= most ? dpi : usual;
}

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe): nothing sets it while we run
    return value != nullptr && *value != '\0';
}

/// Before Qt starts, and with it the threads of drivers.
void prepareQt() {
    // NOLINTBEGIN(concurrency-mt-unsafe): the thread that forks children reads no variables
    // Staying on top, choosing a place and following the pointer everywhere need X11, also in a Wayland
    // session.
    const char* platform = std::getenv("QT_QPA_PLATFORM");
    if (platform == nullptr || std::string_view(platform).substr(0, 3) != "xcb") {
        setenv("QT_QPA_PLATFORM", "xcb", 1);
    }
    // Sizes are ours to scale: pixels are device pixels.
    setenv("QT_ENABLE_HIGHDPI_SCALING", "0", 1);
    for (const char* variable : {"QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS", "QT_FONT_DPI"})
        unsetenv(variable);
    // NOLINTEND(concurrency-mt-unsafe)
}

/// Empty when there is a display.
std::string displayProblem() {
    const Connection connection = connectToDisplay();
    if (xcb_connection_has_error(connection.get()) == 0) return {};
    const std::string words = "there is no display to show the head on: ";
    if (!isSet("DISPLAY")) return words + "DISPLAY isn't set";
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing sets it while we run
    return words + "can't connect to DISPLAY=" + std::getenv("DISPLAY");
}

Rect toRect(const QRect& rect) {
    return {rect.x(), rect.y(), rect.x() + rect.width(), rect.y() + rect.height()};
}

/// The squared distance of a point from a rectangle; 0 inside.
double distance(const QRect& rect, Point point) {
    const double x = static_cast<double>(point.x) - std::clamp(point.x, rect.left(), rect.right());
    const double y = static_cast<double>(point.y) - std::clamp(point.y, rect.top(), rect.bottom());
    return x * x + y * y;
}

}  // namespace

struct Desktop::Parts {
    // Qt keeps pointers to both.
    int argumentCount = 1;
    char programName[5] = "velu";
    char* arguments[2] = {programName, nullptr};
    QApplication application{argumentCount, arguments};
    QTimer screensSettled;

    void watch(const QScreen* screen) {
        const auto settle = [this] { screensSettled.start(); };
        QObject::connect(screen, &QScreen::geometryChanged, &screensSettled, settle);
        QObject::connect(screen, &QScreen::availableGeometryChanged, &screensSettled, settle);
    }

    void watchAll() {
        for (const QScreen* screen : QApplication::screens())
            watch(screen);
        QObject::connect(&application, &QApplication::screenAdded, &screensSettled,
                         [this](const QScreen* screen) {
                             watch(screen);
                             screensSettled.start();
                         });
        QObject::connect(&application, &QApplication::screenRemoved, &screensSettled,
                         [this] { screensSettled.start(); });
    }
};

Desktop::Desktop(std::unique_ptr<Parts> parts) : parts(std::move(parts)) {}

Desktop::~Desktop() {
    // Windows that went after the last events were processed.
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

std::unique_ptr<Desktop> Desktop::connect(std::string& problem) {
    prepareQt();
    problem = displayProblem();
    if (!problem.empty()) return nullptr;
    auto parts = std::make_unique<Parts>();
    QApplication::setApplicationName("Velu");
    QApplication::setWindowIcon(faceIcon());
    QApplication::setQuitOnLastWindowClosed(false);
    // What Qt's own event loop would do at its start; without it no screen reader finds the program.
    QAccessible::setRootObject(qApp);
    parts->watchAll();
    std::unique_ptr<Desktop> desktop(new Desktop(std::move(parts)));
    // A new layout comes as many changes, one after the other.
    constexpr int settledMs = 300;
    QTimer& settled = desktop->parts->screensSettled;
    settled.setSingleShot(true);
    settled.setInterval(settledMs);
    QObject::connect(&settled, &QTimer::timeout, [raw = desktop.get()] {
        if (raw->screensChanged) raw->screensChanged();
    });
    return desktop;
}

void Desktop::processEvents() {
    QApplication::processEvents();
    // No event loop of Qt's runs, which would do this.
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

Point Desktop::cursor() const {
    const QPoint place = QCursor::pos();
    return {place.x(), place.y()};
}

Rect Desktop::primaryWorkArea() const {
    const QScreen* screen = QApplication::primaryScreen();
    return screen == nullptr ? Rect{} : toRect(screen->availableGeometry());
}

Rect Desktop::workAreaNearest(Point point) const {
    const QScreen* nearest = QApplication::primaryScreen();
    for (const QScreen* screen : QApplication::screens()) {
        if (distance(screen->geometry(), point) < distance(nearest->geometry(), point)) nearest = screen;
    }
    return nearest == nullptr ? Rect{} : toRect(nearest->availableGeometry());
}

int32_t systemDpi() {
    static const int32_t dpi = readSystemDpi();
    return dpi;
}

void showErrorBox(const std::string& title, const std::string& text) {
    std::fprintf(stderr, "%s: %s\n", title.c_str(), text.c_str());
    std::string problem;
    std::unique_ptr<Desktop> own;
    if (QCoreApplication::instance() == nullptr) {
        own = Desktop::connect(problem);
        if (!own) return;
    }
    QMessageBox box(QMessageBox::Critical, QString::fromStdString(title), QString::fromStdString(text));
    box.show();
    // Not exec: a request to end must be heard.
    while (box.isVisible() && !terminationRequested()) {
        constexpr int heardWithinMs = 50;
        QApplication::processEvents(QEventLoop::WaitForMoreEvents, heardWithinMs);
        QThread::msleep(10);
    }
}
