#include "presence/SettingsWindow.h"

#include <utility>

void SettingsWindow::open(const Desktop& desktop, Settings& toEdit, const SettingsChoices& nowThere,
                          const Rect& workArea, int32_t dpi, SettingsCallbacks toCall) {
    if (view) {
        view->raise();
        return;
    }
    settings = &toEdit;
    choices = nowThere;
    callbacks = std::move(toCall);
    modelBefore = settings->modelIndex;
    SettingsViewEvents events;
    events.pressed = [this](int32_t id) { pressed(SettingsControl{id}); };
    events.closed = [this] { close(); };
    opened = settingsForm(*settings, choices, workArea, dpi);
    view = std::make_unique<SettingsView>(desktop, opened, std::move(events));
}

void SettingsWindow::pressed(SettingsControl button) {
    // A second click may come before the window has closed.
    if (!view) return;
    constexpr const char* title = "Velu";
    switch (button) {
        case SettingsControl::save:
            save();
            break;
        case SettingsControl::clearConversation:
            callbacks.clearConversation();
            view->tell(title, "Conversation history cleared.");
            break;
        case SettingsControl::forget:
            view->ask(title, "Forget everything Velu has learned about you?", callbacks.forget);
            break;
        default:
            close();
            break;
    }
}

void SettingsWindow::save() {
    std::vector<Control> entered = view->controls();
    // The menu may have changed a switch that wasn't touched here.
    const std::vector<Control> present = settingsForm(*settings, choices, {}, 96).controls;
    for (size_t index = 0; index < entered.size(); ++index) {
        if (entered[index].checked == opened.controls[index].checked)
            entered[index].checked = present[index].checked;
    }
    applySettingsForm(entered, choices, *settings);
    close();
    // The callback may open the window again.
    const SettingsCallbacks toCall = std::move(callbacks);
    toCall.saved(settings->modelIndex != modelBefore);
}
