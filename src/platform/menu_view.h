#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/geometry.h"

class Desktop;

/// A row of a menu.
struct MenuItem {
    int32_t id = 0;    ///< reported when it is chosen; 0 for a line between groups, which has no text
    std::string text;  ///< shown as it is
    std::optional<bool> checked;  ///< state of its check mark; nothing for a row without one
};

/// The callbacks of the menu, called from within `Desktop::processEvents` or `MenuView::popup`. A tray that
/// draws the menu itself calls only `items` and `chosen`.
struct MenuViewEvents {
    std::function<std::vector<MenuItem>()> items;  ///< returns the rows; called at each opening
    std::function<void(int32_t id)> chosen;
    std::function<void()> iconClicked;  ///< the first button was pressed on the tray icon
};

/// The program's menu and its icon in the desktop's tray, where the second button opens the menu too. The
/// icon appears as soon as there is a tray; the menu needs none. Threads: that of the `Desktop`, which must
/// outlive it.
class MenuView {
public:
    /// The tray shows `name` for the icon.
    MenuView(const Desktop& desktop, const std::string& name, MenuViewEvents events);
    ~MenuView();
    MenuView(const MenuView&) = delete;
    MenuView& operator=(const MenuView&) = delete;

    /// Opens the menu with its lower left corner at `place`, or below it when there is no room above, wholly
    /// on that screen. It has the keyboard until it closes. Doesn't block.
    void popup(Point place);

    /// Returns whether the menu is on the screen. A menu that the tray draws itself doesn't count.
    [[nodiscard]] bool isOpen() const;

private:
    struct Parts;
    std::unique_ptr<Parts> parts;
};
