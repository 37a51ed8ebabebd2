#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/geometry.h"

class Desktop;

/// The kind of a control. A label belongs to the edit line or list that follows it; one button is the
/// default.
enum class ControlKind { label, edit, list, checkBox, button, defaultButton };

/// A control of a form, with its value.
struct Control {
    int32_t id = 0;  ///< reported by a button
    ControlKind kind = ControlKind::label;
    std::string text;  ///< shown as it is; the content of an edit line
    Rect
        place;  ///< in pixels, relative to the form's top left corner; a list has the height of the open list
    std::vector<std::string> entries;  ///< of a list
    int32_t selected = 0;              ///< index of the selected entry of a list; -1 for none
    bool checked = false;              ///< whether a check box has its tick
};

/// A window of controls; the tab key visits them in their order.
struct Form {
    std::string title;
    Rect place;            ///< of the window's inside on the screen, in pixels
    int32_t fontSize = 0;  ///< pixels
    std::vector<Control> controls;
};

/// The callbacks of a form, called from within `Desktop::processEvents`. They may destroy the view.
struct SettingsViewEvents {
    /// A button was pressed, by mouse or keyboard; Enter in another control presses the default button.
    std::function<void(int32_t id)> pressed;
    std::function<void()> closed;  ///< Escape, or the cross in the window's frame; the window is hidden
};

/// A form on the screen, above ordinary windows and with the keyboard. No call blocks. Threads: that of the
/// `Desktop`, which must outlive it.
class SettingsView {
public:
    SettingsView(const Desktop& desktop, const Form& form, SettingsViewEvents events);
    ~SettingsView();
    SettingsView(const SettingsView&) = delete;
    SettingsView& operator=(const SettingsView&) = delete;

    /// Returns the form's controls with the values that the user has given them.
    [[nodiscard]] std::vector<Control> controls() const;

    /// Puts the form in front of all other windows and gives it the keyboard.
    void raise();

    /// Shows a message over the form, which is disabled until the user closes the message.
    void tell(const std::string& title, const std::string& text);

    /// Asks a question in the same way. Calls `yes` if the user agrees; anything else, Enter too, means no.
    void ask(const std::string& title, const std::string& text, std::function<void()> yes);

private:
    struct Parts;
    std::unique_ptr<Parts> parts;
};
