// What the head's window is to a screen reader.

#include <gtest/gtest.h>

#include <QAccessible>
#include <QCoreApplication>

#include "platform/desktop.h"
#include "support/XDesktop.h"

namespace {

TEST(HeadWindow, AScreenReaderFindsItByName) {
    const XDesktop display(XDesktop::Kind::bare);
    std::string problem;
    const auto desktop = Desktop::connect(problem);
    ASSERT_NE(desktop, nullptr) << problem;
    const auto window =
        HeadWindow::create(*desktop, "Velu", 204, 240, {[](PointerAction, Point) {}, [] {}, {}}, problem);
    ASSERT_NE(window, nullptr) << problem;
    window->place({100, 50, 304, 290}, true);
    desktop->processEvents();

    QAccessibleInterface* program = QAccessible::queryAccessibleInterface(QCoreApplication::instance());
    ASSERT_NE(program, nullptr);
    ASSERT_EQ(program->childCount(), 1);
    const QAccessibleInterface* head = program->child(0);
    EXPECT_EQ(head->text(QAccessible::Name), "Velu");
    EXPECT_FALSE(head->state().invisible);
    EXPECT_EQ(head->rect().size(), QSize(204, 240));
}

}  // namespace
