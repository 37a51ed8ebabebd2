#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/geometry.h"

class Desktop;

/// One row of a menu.
struct MenuItem {
    int32_t id = 0;               ///< what a choice reports; 0 for a line between groups, which has no text
    std::string text;             ///< shown as it is
    std::optional<bool> checked;  ///< whether its check mark is set; nothing for a row that has none
};

/// What the menu asks for and reports, from within `Desktop::processEvents` or `MenuView::popup`. Of a menu
/// that the tray draws by itself only `items` and `chosen` are heard.
struct MenuViewEvents {
    std::function<std::vector<MenuItem>()> items;  ///< the rows, asked for at each opening
    std::function<void(int32_t id)> chosen;
    std::function<void()> iconClicked;  ///< the first button on the tray's icon
};

/// The program's one menu and its icon in the desktop's tray, whose second button opens the menu too. The
/// icon appears when there is a tray, also a later one; without a tray nothing is missing but the icon.
/// Threads: that of the `Desktop`, which outlives it.
class MenuView {
public:
    /// `name` is what the tray says of the icon.
    MenuView(const Desktop& desktop, const std::string& name, MenuViewEvents events);
    ~MenuView();
    MenuView(const MenuView&) = delete;
    MenuView& operator=(const MenuView&) = delete;

    /// Opens the menu with its lower left corner at `place`, below it where there is no room above, wholly on
    /// that screen. It has the keyboard until it closes. Doesn't wait.
    void popup(Point place);

    /// Whether it is on the screen. A tray that draws the menu by itself doesn't count.
    [[nodiscard]] bool isOpen() const;

private:
    struct Parts;
    std::unique_ptr<Parts> parts;
};
