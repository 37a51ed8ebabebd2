// The menu and the tray's icon on a desktop of other programs.

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <algorithm>
#include <optional>
#include <utility>

#include "platform/desktop.h"
#include "platform/menu_view.h"
#include "support/Soon.h"
#include "support/XDesktop.h"

namespace {

constexpr Rect headPlace{600, 300, 804, 540};
constexpr Colour eyes{64, 224, 255};

/// A head, a menu and the window that the user works in.
class Menu : public testing::Test {
protected:
    void SetUp() override {
        std::string problem;
        desktop = Desktop::connect(problem);
        ASSERT_NE(desktop, nullptr) << problem;
        HeadWindowEvents head;
        head.pointer = [](PointerAction, Point) {};
        head.closed = [] {};
        head.menuRequested = [this](Point place) { menu->popup(place); };
        window = HeadWindow::create(*desktop, "Velu", 204, 240, head, problem);
        ASSERT_NE(window, nullptr) << problem;
        window->setClickable({{0, 0, 204, 240}});
        window->place(headPlace, true);
        makeMenu();
        userWindow = display.openUserWindow();
        ASSERT_TRUE(eventually([this] { return display.focus() == userWindow; }));
    }

    void makeMenu() {
        MenuViewEvents events;
        events.items = [this] { return items; };
        events.chosen = [this](int32_t id) { told += std::to_string(id) + " "; };
        events.iconClicked = [this] { told += "icon "; };
        menu.reset();
        menu = std::make_unique<MenuView>(*desktop, "Velu", std::move(events));
    }

    template <typename Condition>
    bool eventually(Condition condition) {
        return soon([&] {
            desktop->processEvents();
            return condition();
        });
    }

    /// Whether the menu comes and can be seen: it is bright, and nothing else is.
    bool opens() {
        return eventually([this] {
            if (!menu->isOpen()) return false;
            const QRect place = popup()->geometry();
            return display.picture().at(place.center().x(), place.top() + 4).red > 128;
        });
    }

    static QMenu* popup() { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); }

    /// Whether this, and nothing else, is what the menu reports next.
    bool reports(const std::string& expected) {
        return eventually([&] { return told == expected; }) && !std::exchange(told, "").empty();
    }

    /// A place on the tray's icon, if it can be seen: an eye.
    std::optional<Point> icon() const {
        const Screenshot picture = display.picture({0, 0, XDesktop::width, 40});
        const auto first = std::find(picture.pixels.begin(), picture.pixels.end(), eyes);
        if (first == picture.pixels.end()) return std::nullopt;
        const auto index = static_cast<int32_t>(first - picture.pixels.begin());
        return Point{index % picture.width, index / picture.width};
    }

    XDesktop display{XDesktop::Kind::managed};
    std::unique_ptr<Desktop> desktop;
    std::unique_ptr<HeadWindow> window;
    std::unique_ptr<MenuView> menu;
    XDesktop::Window userWindow = 0;
    std::vector<MenuItem> items = {
        {1, "First & last", {}}, {2, "On", true}, {3, "Off", false}, {}, {4, "End", {}}};
    std::string told;
};

TEST_F(Menu, HasTheKeyboardWhileAnotherProgramHasTheFocus) {
    display.act("mousemove 700 420 click 3");
    ASSERT_TRUE(opens());
    EXPECT_EQ(popup()->geometry().bottomLeft(), QPoint(700, 419));
    const QList<QAction*> actions = popup()->actions();
    ASSERT_EQ(actions.size(), 5);
    EXPECT_EQ(actions[0]->text(), "First && last");
    EXPECT_FALSE(actions[0]->isCheckable());
    EXPECT_TRUE(actions[1]->isChecked());
    EXPECT_TRUE(actions[2]->isCheckable() && !actions[2]->isChecked());
    EXPECT_TRUE(actions[3]->isSeparator());
    display.act("key Down Down Down Down Return");
    EXPECT_TRUE(reports("4 ")) << told;
    EXPECT_EQ(display.focus(), userWindow);

    items[0].checked = true;  // as the menu is opened, so it shows
    display.act("click 3");
    ASSERT_TRUE(opens());
    EXPECT_TRUE(popup()->actions().front()->isChecked());
    display.act("key Escape");
    EXPECT_TRUE(eventually([this] { return !menu->isOpen(); }));
    display.act("click 3");
    ASSERT_TRUE(opens());
    display.act("mousemove 20 650 click 1");
    EXPECT_TRUE(eventually([this] { return !menu->isOpen(); }));
    EXPECT_EQ(told, "");
}

TEST_F(Menu, StaysOnTheScreen) {
    for (const Point place : {Point{300, 0}, Point{300, 30}, Point{990, 699}, Point{0, 699}, Point{999, 0}}) {
        menu->popup(place);
        ASSERT_TRUE(opens());
        const QRect shown = popup()->geometry();
        EXPECT_TRUE(QRect(0, 0, XDesktop::width, XDesktop::height).contains(shown)) << place.y;
        // It covers the pointer nowhere but where the screen ends.
        EXPECT_TRUE(place.y < 200 ? shown.top() >= place.y : shown.bottom() < place.y) << place.y;
        display.act("key Escape");
        EXPECT_TRUE(eventually([this] { return !menu->isOpen(); }));
    }
}

TEST_F(Menu, HangsOnTheTraysIconWhicheverComesFirst) {
    EXPECT_FALSE(icon());
    display.startTray();
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
        display.act("mousemove " + std::to_string(place.x) + " " + std::to_string(place.y) + " click 1");
        EXPECT_TRUE(reports("icon ")) << told;
        display.act("click 3");
        ASSERT_TRUE(opens());
        display.act("key Down Return");
        EXPECT_TRUE(reports("1 ")) << told;
    }
}

}  // namespace
