#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/settings_view.h"
#include "presence/SettingsForm.h"

/// The settings window's callbacks. They are called within `Desktop::processEvents`.
struct SettingsCallbacks {
    std::function<void()> clearConversation;  ///< called at once, before the user saves
    std::function<void()> forget;             ///< called at once when the user has confirmed
    /// Called when the settings are saved and the window is closed. `modelChanged`: the model differs from
    /// the one at opening.
    std::function<void(bool modelChanged)> saved;
};

/// The window with the user's settings. It changes them only when the user saves. Nothing waits for it.
///
/// Threads: window thread only.
class SettingsWindow {
public:
    /// Opens the window in the middle of `workArea`, filled from `settings`. A window that is already open is
    /// brought to the front unchanged. `desktop` and `settings` outlive the window.
    void open(const Desktop& desktop, Settings& settings, const SettingsChoices& choices,
              const Rect& workArea, int32_t dpi, SettingsCallbacks callbacks);

    [[nodiscard]] bool isOpen() const { return view != nullptr; }

    /// Closes the window as Cancel does.
    void close() { view.reset(); }

private:
    void pressed(SettingsControl button);
    void save();

    std::unique_ptr<SettingsView> view;
    Settings* settings = nullptr;  ///< set while `view` is there
    Form opened;                   ///< the form before the user changed it
    SettingsChoices choices;
    SettingsCallbacks callbacks;
    int32_t modelBefore = 0;
};
