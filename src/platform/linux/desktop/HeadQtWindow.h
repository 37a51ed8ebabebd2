#pragma once

#include <QWindow>
#include <functional>

#include "platform/desktop.h"

/// The head window as Qt sees it. Reports what happens to it, and has a name for screen readers.
///
/// Threads: the one of the `Desktop`.
class HeadQtWindow : public QWindow {
public:
    /// Lets Qt find the name of windows of this class. To be called before the first is made.
    static void installAccessibility();

    HeadWindowEvents events;
    std::function<void()> exposed;  ///< the window was shown or resized

    [[nodiscard]] QAccessibleInterface* accessibleRoot() const override;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void exposeEvent(QExposeEvent*) override { exposed(); }
    void resizeEvent(QResizeEvent*) override { exposed(); }
    bool event(QEvent* event) override;

private:
    void report(PointerAction action, const QMouseEvent* event) const;
};
