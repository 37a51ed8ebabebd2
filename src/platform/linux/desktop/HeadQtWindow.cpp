#include "platform/linux/desktop/HeadQtWindow.h"

#include <QAccessible>
#include <QAccessibleObject>
#include <QGuiApplication>
#include <QMouseEvent>

namespace {

Point toPoint(QPoint place) {
    return {place.x(), place.y()};
}

/// What a screen reader finds in place of the pixels: an object with a name.
class HeadAccessible : public QAccessibleObject {
public:
    explicit HeadAccessible(HeadQtWindow* window) : QAccessibleObject(window), window(window) {}

    [[nodiscard]] QAccessibleInterface* parent() const override {
        return QAccessible::queryAccessibleInterface(qGuiApp);
    }
    [[nodiscard]] QAccessibleInterface* child(int) const override { return nullptr; }
    [[nodiscard]] int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    [[nodiscard]] QString text(QAccessible::Text which) const override {
        return which == QAccessible::Name ? window->title() : QString();
    }
    [[nodiscard]] QAccessible::Role role() const override { return QAccessible::Window; }
    [[nodiscard]] QAccessible::State state() const override {
        QAccessible::State state;
        state.invisible = !window->isVisible();
        return state;
    }
    [[nodiscard]] QRect rect() const override { return window->geometry(); }

private:
    HeadQtWindow* window;
};

QAccessibleInterface* makeAccessible(const QString&, QObject* object) {
    auto* head = dynamic_cast<HeadQtWindow*>(object);
    return head == nullptr ? nullptr : new HeadAccessible(head);
}

}  // namespace

void HeadQtWindow::installAccessibility() {
    QAccessible::installFactory(makeAccessible);
}

QAccessibleInterface* HeadQtWindow::accessibleRoot() const {
    return QAccessible::queryAccessibleInterface(const_cast<HeadQtWindow*>(this));
}

void HeadQtWindow::mousePressEvent(QMouseEvent* event) {
    report(PointerAction::press, event);
}

void HeadQtWindow::mouseReleaseEvent(QMouseEvent* event) {
    report(PointerAction::release, event);
}

void HeadQtWindow::mouseDoubleClickEvent(QMouseEvent* event) {
    report(PointerAction::doubleClick, event);
}

void HeadQtWindow::mouseMoveEvent(QMouseEvent* event) {
    // The button may have come up where this window couldn't see it.
    const bool held = (event->buttons() & Qt::LeftButton) != 0;
    events.pointer(held ? PointerAction::move : PointerAction::release,
                   toPoint(event->globalPosition().toPoint()));
}

bool HeadQtWindow::event(QEvent* event) {
    if (event->type() != QEvent::Close) return QWindow::event(event);
    event->ignore();  // the owner decides when the window goes
    events.closed();
    return true;
}

void HeadQtWindow::report(PointerAction action, const QMouseEvent* event) const {
    const Point cursor = toPoint(event->globalPosition().toPoint());
    if (event->button() == Qt::LeftButton) {
        events.pointer(action, cursor);
    } else if (event->button() == Qt::RightButton && action == PointerAction::release) {
        if (events.menuRequested) events.menuRequested(cursor);
    }
}
