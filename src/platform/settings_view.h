#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/geometry.h"

class Desktop;

/// A label belongs to the edit line or the list that follows it. Of the buttons one is the default.
enum class ControlKind { label, edit, list, checkBox, button, defaultButton };

/// One control of a form, with its value.
struct Control {
    int32_t id = 0;  ///< what a button reports
    ControlKind kind = ControlKind::label;
    std::string text;  ///< shown as it is; what an edit line holds
    Rect place;        ///< pixels from the form's top left corner; a list's height is that of the open list
    std::vector<std::string> entries;  ///< of a list
    int32_t selected = 0;              ///< the entry of a list; -1 is none
    bool checked = false;              ///< whether a check box has its tick
};

/// A window full of controls; the tab key goes through them in their order.
struct Form {
    std::string title;
    Rect place;            ///< of its inside on the screen, pixels
    int32_t fontSize = 0;  ///< pixels
    std::vector<Control> controls;
};

/// What a form reports, from within `Desktop::processEvents`. The view may be destroyed in here.
struct SettingsViewEvents {
    /// A button, by mouse or keyboard; also the default one, when Enter is pressed in another control.
    std::function<void(int32_t id)> pressed;
    std::function<void()> closed;  ///< Escape, or the cross in the window's frame; the window is hidden
};

/// A form on the screen, above ordinary windows and with the keyboard. It doesn't wait: all else goes on.
/// Threads: that of the `Desktop`, which outlives it.
class SettingsView {
public:
    SettingsView(const Desktop& desktop, const Form& form, SettingsViewEvents events);
    ~SettingsView();
    SettingsView(const SettingsView&) = delete;
    SettingsView& operator=(const SettingsView&) = delete;

    /// The form's controls with the values that the user has given them.
    [[nodiscard]] std::vector<Control> controls() const;

    /// Puts it before all other windows and gives it the keyboard.
    void raise();

    /// Shows a message over the form, which waits until the user has closed it.
    void tell(const std::string& title, const std::string& text);

    /// The same with a question. `yes` is called if that is the answer; anything else is a no, as is Enter.
    void ask(const std::string& title, const std::string& text, std::function<void()> yes);

private:
    struct Parts;
    std::unique_ptr<Parts> parts;
};
