#include "platform/menu_view.h"

#include <QGuiApplication>
#include <QMenu>
#include <QScreen>
#include <QSystemTrayIcon>
#include <algorithm>
#include <utility>

#include "platform/desktop.h"
#include "platform/linux/desktop/FaceIcon.h"
#include "platform/linux/desktop/PlainText.h"

struct MenuView::Parts {
    MenuViewEvents events;
    QMenu menu;
    QSystemTrayIcon icon;

    [[nodiscard]] bool hasRowsOf(const std::vector<MenuItem>& items) const {
        const QList<QAction*> actions = menu.actions();
        return std::equal(
            actions.begin(), actions.end(), items.begin(), items.end(),
            [](const QAction* action, const MenuItem& item) { return action->data().toInt() == item.id; });
    }

    void addRows(const std::vector<MenuItem>& items) {
        menu.clear();
        for (const MenuItem& item : items) {
            QAction* action = menu.addAction(QString());
            action->setSeparator(item.id == 0);
            action->setData(item.id);
        }
    }

    void refresh() {
        const std::vector<MenuItem> items = events.items();
        // A tray that draws the menu by itself may still show these very rows.
        if (!hasRowsOf(items)) addRows(items);
        const QList<QAction*> actions = menu.actions();
        for (qsizetype index = 0; index < actions.size(); ++index) {
            const MenuItem& item = items[static_cast<size_t>(index)];
            actions[index]->setText(withoutMnemonics(item.text));
            actions[index]->setCheckable(item.checked.has_value());
            actions[index]->setChecked(item.checked.value_or(false));
        }
    }
};

MenuView::MenuView(const Desktop&, const std::string& name, MenuViewEvents events)
    : parts(std::make_unique<Parts>()) {
    Parts* raw = parts.get();
    raw->events = std::move(events);
    QObject::connect(&raw->menu, &QMenu::aboutToShow, &raw->menu, [raw] { raw->refresh(); });
    QObject::connect(&raw->menu, &QMenu::triggered, &raw->menu,
                     [raw](const QAction* action) { raw->events.chosen(action->data().toInt()); });
    QObject::connect(&raw->icon, &QSystemTrayIcon::activated, &raw->icon,
                     [raw](QSystemTrayIcon::ActivationReason reason) {
                         if (reason == QSystemTrayIcon::Trigger) raw->events.iconClicked();
                     });
    raw->menu.setAccessibleName(QString::fromStdString(name));
    // A tray that draws the menu by itself wants to know it from the start.
    raw->refresh();
    raw->icon.setIcon(faceIcon());
    raw->icon.setToolTip(QString::fromStdString(name));
    raw->icon.setContextMenu(&raw->menu);
    raw->icon.show();
}

MenuView::~MenuView() = default;

void MenuView::popup(Point place) {
    QMenu& menu = parts->menu;
    if (menu.isVisible()) menu.hide();
    parts->refresh();
    const int height = menu.sizeHint().height();
    const QPoint point(place.x, place.y);
    const QScreen* screen = QGuiApplication::screenAt(point);
    const bool fits = screen == nullptr || place.y - height >= screen->availableGeometry().top();
    menu.popup(fits ? point - QPoint(0, height) : point);
}

bool MenuView::isOpen() const {
    return parts->menu.isVisible();
}
