#include <QOpenGLContext>
#include <QScreen>
#include <QTimer>
#include <chrono>

#include "platform/desktop.h"
#include "platform/linux/desktop/HeadQtWindow.h"
#include "platform/linux/desktop/X11.h"
#include "platform/linux/drawing/SurfaceProblem.h"
#include "platform/texts.h"

namespace {

constexpr const char* aboveState = "_NET_WM_STATE_ABOVE";

QSurfaceFormat headFormat() {
    QSurfaceFormat format;
    format.setRenderableType(QSurfaceFormat::OpenGL);
    format.setVersion(3, 3);
    format.setProfile(QSurfaceFormat::CoreProfile);
    format.setAlphaBufferSize(8);
    format.setDepthBufferSize(0);
    format.setSwapInterval(2);
    return format;
}

}  // namespace

struct HeadWindow::Parts {
    HeadQtWindow window;
    QOpenGLContext context;
    QTimer compositorWatch;
    xcb_connection_t* connection = x11::connection();
    bool hasCompositor = true;
    std::vector<Rect> clickable;
    std::vector<Rect> outline;
    std::unique_ptr<HeadSurface> surface;

    using Clock = std::chrono::steady_clock;
    Rect known;  ///< the place that was last asked for, or that the window then turned out to have
    Clock::time_point knownAt;

    void know(const Rect& rect) {
        known = rect;
        knownAt = Clock::now();
    }

    [[nodiscard]] xcb_window_t id() const { return static_cast<xcb_window_t>(window.winId()); }

    void applyClickable() const { x11::setShape(connection, id(), x11::Shape::input, clickable); }

    void lookForCompositor() {
        const bool had = hasCompositor;
        hasCompositor = x11::hasCompositor(connection, id());
        if (hasCompositor && !had) {
            outline.clear();
            x11::clearShape(connection, id(), x11::Shape::outline);
        }
    }

    void setOutline(const std::vector<Rect>& rows) {
        if (rows == outline) return;
        outline = rows;
        x11::setShape(connection, id(), x11::Shape::outline, rows);
    }

    [[nodiscard]] HeadSurface::Operations operations() {
        return {
            [this] { return QOpenGLContext::currentContext() == &context || context.makeCurrent(&window); },
            [this] { return window.isExposed(); },
            [this] { context.swapBuffers(&window); },
            [this] { return !hasCompositor; },
            [this](const std::vector<Rect>& rows) { setOutline(rows); },
        };
    }
};

HeadWindow::HeadWindow(std::unique_ptr<Parts> parts) : parts(std::move(parts)) {}
HeadWindow::~HeadWindow() = default;

std::unique_ptr<HeadWindow> HeadWindow::create(const Desktop&, const std::string& name, int32_t width,
                                               int32_t height, HeadWindowEvents events,
                                               std::string& problem) {
    HeadQtWindow::installAccessibility();
    auto parts = std::make_unique<Parts>();
    HeadQtWindow& window = parts->window;
    window.events = std::move(events);
    window.exposed = [raw = parts.get()] { raw->applyClickable(); };
    window.setSurfaceType(QSurface::OpenGLSurface);
    window.setFormat(headFormat());
    // Not a tool window: some window managers hide those of programs that aren't active.
    window.setFlags(Qt::Window | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus);
    window.setProperty("_q_showWithoutActivating", true);
    window.setTitle(QString::fromStdString(name));
    window.setCursor(Qt::PointingHandCursor);
    window.setGeometry(0, 0, width, height);
    window.create();
    x11::setClass(parts->connection, parts->id(), "velu", "VeluHead");
    // Compositors would draw a shadow around the whole rectangle.
    x11::setCardinals(parts->connection, parts->id(), "_GTK_FRAME_EXTENTS", {0, 0, 0, 0});

    parts->context.setFormat(window.requestedFormat());
    if (!parts->context.create()) {
        problem = surfaceProblem(platformTexts.deviceFailed, 0);
        return nullptr;
    }
    const auto version = parts->context.format().version();
    if (version < qMakePair(3, 3)) {
        problem = surfaceProblem(platformTexts.deviceFailed,
                                 static_cast<uint32_t>(version.first * 0x100 + version.second));
        return nullptr;
    }
    parts->surface = std::make_unique<HeadSurface>(parts->operations());
    if (!parts->surface->makeCurrent()) {
        problem = surfaceProblem(platformTexts.surfaceFailed, 0);
        return nullptr;
    }

    parts->lookForCompositor();
    QObject::connect(&parts->compositorWatch, &QTimer::timeout, &parts->window,
                     [raw = parts.get()] { raw->lookForCompositor(); });
    constexpr int everyMs = 1000;
    parts->compositorWatch.start(everyMs);
    return std::unique_ptr<HeadWindow>(new HeadWindow(std::move(parts)));
}

const HeadSurface& HeadWindow::surface() const {
    return *parts->surface;
}

Rect HeadWindow::rect() const {
    // The window manager takes its time to move a window, and may put it elsewhere. Qt's own idea of the
    // place is no help: it stays wrong when it looked while the window manager was putting its frame around
    // the window.
    constexpr auto movedWithin = std::chrono::milliseconds(250);
    // The X server is asked no more often than that, either: each question wakes both.
    if (Parts::Clock::now() - parts->knownAt >= movedWithin) {
        parts->know(x11::rectangle(parts->connection, parts->id()).value_or(parts->known));
    }
    return parts->known;
}

void HeadWindow::place(const Rect& rect, bool onTop) {
    QWindow& window = parts->window;
    parts->know(rect);
    // A window of one size only is left alone by window managers that lay out all others as tiles.
    window.setMinimumSize({rect.width(), rect.height()});
    window.setMaximumSize({rect.width(), rect.height()});
    window.setGeometry(rect.left, rect.top, rect.width(), rect.height());
    if (window.isVisible()) {
        if ((window.windowStates() & Qt::WindowMinimized) != 0) window.showNormal();
        setOnTop(onTop);
        window.raise();
        return;
    }
    // Not by Qt's flag: changing that makes a new native window, without what was set on this one.
    std::vector<std::string> states = {"_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER"};
    if (onTop) states.emplace_back(aboveState);
    x11::setInitialState(parts->connection, parts->id(), states);
    window.show();
}

void HeadWindow::moveTo(Point topLeft) {
    const Rect size = parts->known;
    parts->know({topLeft.x, topLeft.y, topLeft.x + size.width(), topLeft.y + size.height()});
    parts->window.setPosition(topLeft.x, topLeft.y);
}

void HeadWindow::hide() {
    parts->window.hide();
}

void HeadWindow::setClickable(const std::vector<Rect>& rows) {
    parts->clickable = rows;
    parts->applyClickable();
}

bool HeadWindow::isOnTop() const {
    return parts->connection == nullptr || x11::hasState(parts->connection, parts->id(), aboveState);
}

void HeadWindow::setOnTop(bool onTop) {
    x11::requestState(parts->connection, parts->id(), aboveState, onTop);
}

double HeadWindow::refreshRate() const {
    const QScreen* screen = parts->window.screen();
    return screen == nullptr ? 0 : screen->refreshRate();
}
