#include "platform/bubble_view.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QWindow>
#include <algorithm>
#include <utility>
#include <vector>

#include "platform/linux/desktop/BrokenText.h"
#include "platform/linux/desktop/BubblePicture.h"
#include "platform/linux/desktop/X11.h"

namespace {

/// Qt's side of the panel: shows a picture and an edit line, and hands on what happens to them.
class BubblePanel : public QWidget {
public:
    BubblePanel()
        : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                               Qt::WindowDoesNotAcceptFocus),
          edit(this) {
        setAttribute(Qt::WA_TranslucentBackground);
        setAttribute(Qt::WA_ShowWithoutActivating);
    }

    BubbleViewEvents events;
    std::function<void()> exposed;
    std::function<void(bool isFocused)> focusChanged;
    QImage picture;
    bool isBlended = true;  ///< what is see-through in the picture is so on the screen
    QColor border;
    QLineEdit edit;

    /// Of the native window.
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Expose) exposed();
        return false;
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        // The window is cut along pixels then, and those along the cut would be half black.
        if (!isBlended) painter.fillRect(rect(), border);
        painter.drawImage(0, 0, picture);
    }
    void mousePressEvent(QMouseEvent* event) override {
        if (event->button() == Qt::LeftButton) events.clicked();
    }
    void keyPressEvent(QKeyEvent* event) override {
        // What the edit line doesn't want comes here.
        if (event->key() == Qt::Key_Escape) events.escaped();
    }
    /// Not by Qt's idea of the active window: it comes late, and stays wrong for a window that was hidden and
    /// is shown again before Qt has noticed.
    bool nativeEvent(const QByteArray&, void* message, qintptr*) override {
        const auto* event = static_cast<const xcb_generic_event_t*>(message);
        const int type = event->response_type & 0x7F;
        if (type != XCB_FOCUS_IN && type != XCB_FOCUS_OUT) return false;
        const auto* focus = reinterpret_cast<const xcb_focus_in_event_t*>(event);
        const bool isGrab = focus->mode == XCB_NOTIFY_MODE_GRAB || focus->mode == XCB_NOTIFY_MODE_UNGRAB;
        if (!isGrab && focus->detail != XCB_NOTIFY_DETAIL_POINTER) focusChanged(type == XCB_FOCUS_IN);
        return false;
    }
    void closeEvent(QCloseEvent* event) override {
        event->ignore();  // the owner decides when the window goes
        events.escaped();
    }
};

QAccessibleInterface* makeAccessible(const QString&, QObject* object) {
    auto* panel = dynamic_cast<BubblePanel*>(object);
    return panel == nullptr ? nullptr : new QAccessibleWidget(panel, QAccessible::Notification);
}

}  // namespace

struct BubbleView::Parts {
    BubbleStyle style;
    BrokenText body;
    xcb_connection_t* connection = x11::connection();
    xcb_window_t previousForeground = XCB_WINDOW_NONE;  ///< had the keyboard before the panel took it
    bool hasKeyboard = false;                           ///< since it was last asked to take it

    // What is on the screen.
    BubbleLayout layout;
    std::string text;
    std::string status;
    std::vector<Rect> rows;  ///< of the panel with its pointer

    BubblePanel panel;  ///< goes first: what it reports on its way needs the rest

    [[nodiscard]] xcb_window_t id() const { return static_cast<xcb_window_t>(panel.winId()); }

    [[nodiscard]] bool isFocused() const { return x11::focus(connection) == id(); }

    /// The panel may lose what it had before it was asked to take the keyboard, and some window managers take
    /// the focus away for a moment.
    void noteFocus(bool isNow) {
        const bool isLost = hasKeyboard && !isNow && !isFocused();
        hasKeyboard = isNow || (hasKeyboard && !isLost);
        if (isLost) panel.events.deactivated();
    }

    void prepareEdit() {
        QLineEdit& edit = panel.edit;
        edit.hide();
        edit.setFrame(false);
        edit.setFont(bubbleFont(style, style.bodyFont, false));
        edit.setPlaceholderText(style.placeholder);
        edit.setAccessibleName(style.placeholder);
        QPalette palette = edit.palette();
        palette.setColor(QPalette::PlaceholderText, toColor(style.statusText));
        palette.setColor(QPalette::Text, toColor(style.text));
        palette.setColor(QPalette::Base, Qt::transparent);  // the panel's picture shows through
        palette.setColor(QPalette::Highlight, toColor(style.border));
        palette.setColor(QPalette::HighlightedText, toColor(style.background));
        edit.setPalette(palette);
        const int margin = style.cornerRadius / 2;
        edit.setTextMargins(margin, 0, margin, 0);
        QObject::connect(&edit, &QLineEdit::returnPressed, &panel, [this] {
            const std::string typed = panel.edit.text().toStdString();
            panel.edit.clear();
            panel.events.submitted(typed);
        });
    }

    /// What takes clicks, again each time the window comes to light: window managers that frame it pass on
    /// only what changes while they look.
    void applyClickable() const { x11::setShape(connection, id(), x11::Shape::input, rows); }

    void cut() {
        rows = visibleRows(panel.picture);
        applyClickable();
        panel.isBlended = x11::hasCompositor(connection, id());
        if (panel.isBlended) {
            x11::clearShape(connection, id(), x11::Shape::outline);
        } else {
            x11::setShape(connection, id(), x11::Shape::outline, rows);
        }
    }

    void moveAndSize() {
        const QRect place = toQRect(layout.window);
        // A window of one size only is left alone by window managers that lay out all others as tiles.
        panel.windowHandle()->setMinimumSize(place.size());
        panel.windowHandle()->setMaximumSize(place.size());
        panel.setGeometry(place);
    }

    void reveal() {
        if (panel.isVisible()) return;
        x11::setInitialState(
            connection, id(),
            {"_NET_WM_STATE_ABOVE", "_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER"});
        // Qt closes an open menu, or an open list, when an ordinary window shows.
        const Qt::WindowFlags flags = panel.windowFlags();
        panel.overrideWindowFlags((flags & ~Qt::WindowType_Mask) | Qt::Tool);
        panel.show();
        panel.overrideWindowFlags(flags);
    }

    /// Above all windows but an open menu.
    void raise() {
        panel.raise();
        if (QWidget* popup = QApplication::activePopupWidget()) popup->raise();
    }

    /// Has the panel refuse the keyboard from now on. False when it has it and there is no window to give it
    /// to.
    [[nodiscard]] bool handBack() {
        panel.windowHandle()->setFlag(Qt::WindowDoesNotAcceptFocus, true);
        if (!isFocused()) return true;
        if (!x11::isShown(connection, previousForeground)) return false;
        x11::activate(connection, previousForeground);
        return true;
    }
};

BubbleView::BubbleView(std::unique_ptr<Parts> parts) : parts(std::move(parts)) {}
BubbleView::~BubbleView() = default;

std::unique_ptr<BubbleView> BubbleView::create(const Desktop&, const BubbleStyle& style,
                                               BubbleViewEvents events) {
    QAccessible::installFactory(makeAccessible);
    auto parts = std::make_unique<Parts>();
    BubblePanel& panel = parts->panel;
    parts->style = style;
    parts->body.setFont(bubbleFont(style, style.bodyFont, false));
    panel.events = std::move(events);
    panel.border = toColor(style.border);
    panel.setWindowTitle(style.windowTitle);
    parts->prepareEdit();
    if (parts->id() == XCB_WINDOW_NONE || panel.windowHandle() == nullptr) return nullptr;
    panel.exposed = [raw = parts.get()] { raw->applyClickable(); };
    panel.focusChanged = [raw = parts.get()](bool isFocused) { raw->noteFocus(isFocused); };
    panel.windowHandle()->installEventFilter(&panel);
    x11::setClass(parts->connection, parts->id(), "velu", "VeluBubble");
    // Compositors would draw a shadow around the whole rectangle.
    x11::setCardinals(parts->connection, parts->id(), "_GTK_FRAME_EXTENTS", {0, 0, 0, 0});
    return std::unique_ptr<BubbleView>(new BubbleView(std::move(parts)));
}

int32_t BubbleView::textHeight(const std::string& text, int32_t width) {
    return parts->body.heightOf(text, width);
}

void BubbleView::show(const BubbleLayout& layout, const std::string& text, const std::string& status) {
    BubblePanel& panel = parts->panel;
    const bool sameWords = text == parts->text && status == parts->status;
    if (panel.isVisible() && sameWords && layout == parts->layout) return;

    // A head that is dragged along takes the same picture along.
    BubbleLayout there = parts->layout;
    if (there.window.height() == layout.window.height()) there.window = layout.window;
    const bool samePicture = panel.isVisible() && sameWords && layout == there;
    parts->layout = layout;
    parts->text = text;
    parts->status = status;

    if (!samePicture) {
        parts->body.heightOf(text, layout.text.width());
        panel.picture = bubblePicture(layout, parts->style, parts->body, status);
        parts->cut();
        panel.edit.setGeometry(toQRect(layout.edit));
        panel.edit.setVisible(layout.edit.width() > 0);
        panel.setAccessibleName(
            QString::fromStdString(status.empty() ? text : text + "\n" + status).trimmed());
    }
    parts->moveAndSize();
    // At once, or the old picture would be seen at the new place.
    if (!samePicture && panel.isVisible()) panel.repaint();
    parts->reveal();
    parts->raise();
}

void BubbleView::hide() {
    static_cast<void>(parts->handBack());
    parts->panel.hide();
}

bool BubbleView::isVisible() const {
    return parts->panel.isVisible();
}

void BubbleView::takeKeyboard() {
    BubblePanel& panel = parts->panel;
    const xcb_window_t active = x11::activeWindow(parts->connection, parts->id());
    if (active != parts->id()) parts->previousForeground = active;
    parts->hasKeyboard = parts->isFocused();
    panel.windowHandle()->setFlag(Qt::WindowDoesNotAcceptFocus, false);
    panel.raise();
    panel.activateWindow();
    panel.edit.setFocus();
}

void BubbleView::giveKeyboardBack() {
    if (parts->handBack()) return;
    // Some windows have no number here: those of a Wayland session's own programs, for one. For a window
    // that goes, the window manager finds the next.
    parts->panel.hide();
    parts->reveal();
}
