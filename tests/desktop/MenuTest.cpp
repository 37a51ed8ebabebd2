// The menu and the tray's icon on a desktop of other programs, and the head's name for a screen reader.

#include <gtest/gtest.h>

#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QMenu>
#include <algorithm>
#include <optional>
#include <utility>

#include "desktop/OnDesktop.h"
#include "platform/menu_view.h"

namespace {

constexpr Rect headPlace{600, 300, 804, 540};
constexpr Colour eyes{64, 224, 255};

/// A head, a menu and the window that the user works in.
class Menu : public OnDesktop {
protected:
    void SetUp() override {
        std::string problem;
        HeadWindowEvents head;
        head.pointer = [](PointerAction, Point) {};
        head.closed = [] {};
        head.menuRequested = [this](Point place) { menu->popup(place); };
        window = HeadWindow::create(*desktop, "Velu", 204, 240, head, problem);
        ASSERT_NE(window, nullptr) << problem;
        window->setClickable({{0, 0, 204, 240}});
        window->place(headPlace, true);
        makeMenu();
        userWindow = display->openUserWindow();
        ASSERT_TRUE(eventually([this] { return display->focus() == userWindow; }));
    }

    void makeMenu() {
        MenuViewEvents events;
        events.items = [this] { return items; };
        events.chosen = [this](int32_t id) { told += std::to_string(id) + " "; };
        events.iconClicked = [this] { told += "icon "; };
        menu.reset();
        menu = std::make_unique<MenuView>(*desktop, "Velu", std::move(events));
    }

    /// Returns whether the menu opens and can be seen: it is bright, and nothing else is.
    bool opens() {
        return eventually([this] {
            if (!menu->isOpen()) return false;
            const QRect place = popup()->geometry();
            return display->picture().at(place.center().x(), place.top() + 4).red > 128;
        });
    }

    bool closes() {
        return eventually([this] { return !menu->isOpen(); });
    }

    static QMenu* popup() { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); }

    bool reports(const std::string& expected) {
        return eventually([&] { return told == expected; }) && !std::exchange(told, "").empty();
    }

    /// An eye of the tray's icon, if it can be seen.
    std::optional<Point> icon() const {
        const Screenshot picture = display->picture({0, 0, XDesktop::width, 40});
        const auto first = std::find(picture.pixels.begin(), picture.pixels.end(), eyes);
        if (first == picture.pixels.end()) return std::nullopt;
        const auto index = static_cast<int32_t>(first - picture.pixels.begin());
        return Point{index % picture.width, index / picture.width};
    }

    std::unique_ptr<HeadWindow> window;
    std::unique_ptr<MenuView> menu;
    XDesktop::Window userWindow = 0;
    std::vector<MenuItem> items = {
        {1, "First & last", {}}, {2, "On", true}, {3, "Off", false}, {}, {4, "End", {}}};
    std::string told;
};

TEST_F(Menu, HasTheKeyboardWhileAnotherProgramHasTheFocus) {
    // A screen reader finds the head by its name.
    const QAccessibleInterface* head =
        QAccessible::queryAccessibleInterface(QCoreApplication::instance())->child(0);
    EXPECT_EQ(head->text(QAccessible::Name), "Velu");
    EXPECT_EQ(head->rect().size(), QSize(204, 240));

    clickAt(700, 420, "3");
    ASSERT_TRUE(opens());
    EXPECT_EQ(popup()->geometry().bottomLeft(), QPoint(700, 419));
    const QList<QAction*> actions = popup()->actions();
    ASSERT_EQ(actions.size(), 5);
    EXPECT_EQ(actions[0]->text(), "First && last");
    EXPECT_TRUE(!actions[0]->isCheckable() && actions[1]->isChecked() && actions[3]->isSeparator());
    EXPECT_TRUE(actions[2]->isCheckable() && !actions[2]->isChecked());
    display->act("key Down Down Down Down Return");
    EXPECT_TRUE(reports("4 ")) << told;
    EXPECT_EQ(display->focus(), userWindow);

    items[0].checked = true;  // shows with the next opening
    display->act("click 3");
    ASSERT_TRUE(opens());
    EXPECT_TRUE(popup()->actions().front()->isChecked());
    clickAt(20, 650);
    EXPECT_TRUE(closes());
    EXPECT_EQ(told, "");

    for (const Point place : {Point{300, 0}, Point{990, 699}, Point{0, 699}, Point{999, 0}}) {
        menu->popup(place);
        ASSERT_TRUE(opens());
        const QRect shown = popup()->geometry();
        EXPECT_TRUE(QRect(0, 0, XDesktop::width, XDesktop::height).contains(shown)) << place.y;
        // It covers the pointer only where the screen ends.
        EXPECT_TRUE(place.y < 200 ? shown.top() >= place.y : shown.bottom() < place.y) << place.y;
        display->act("key Escape");
        EXPECT_TRUE(closes());
    }
}

TEST_F(Menu, HangsOnTheTraysIconWhicheverComesFirst) {
    EXPECT_FALSE(icon());
    display->startTray();
    for (const bool trayWasFirst : {false, true}) {
        if (trayWasFirst) {
            menu.reset();
            ASSERT_TRUE(eventually([this] { return !icon(); }));
            makeMenu();
        }
        // The tray grows around it, so until it stands still.
        Point place;
        ASSERT_TRUE(eventually([&] {
            const Point before = std::exchange(place, icon().value_or(Point{}));
            return place == before && icon();
        })) << trayWasFirst;
        clickAt(place.x, place.y);
        EXPECT_TRUE(reports("icon ")) << told;
        display->act("click 3");
        ASSERT_TRUE(opens());
        display->act("key Down Return");
        EXPECT_TRUE(reports("1 ")) << told;
    }
}

}  // namespace
