#include "UndrawnCompanion.h"

#include <memory>
#include <string>
#include <vector>

#include "core/Companion.h"

void openUndrawn(Companion& companion) {
    std::string problem;
    companion.desktop = Desktop::connect(problem);
    companion.window =
        HeadWindow::create(*companion.desktop, "Velu", companion.windowWidth, companion.windowHeight,
                           {[](PointerAction, Point) {}, [] {}, {}}, problem);
    companion.menu = std::make_unique<MenuView>(
        *companion.desktop, "Velu", MenuViewEvents{[] { return std::vector<MenuItem>(); }, {}, {}});
    companion.placeWindow(false);
}
