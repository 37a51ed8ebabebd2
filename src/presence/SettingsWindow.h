#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/settings_view.h"
#include "presence/SettingsForm.h"

/// What the settings window has done elsewhere, from within `Desktop::processEvents`.
struct SettingsCallbacks {
    std::function<void()> clearConversation;  ///< at once, whether the user saves or not
    std::function<void()> forget;             ///< the same, once the user has said yes
    /// The settings are saved and the window is gone. `modelChanged`: another model than at the opening.
    std::function<void(bool modelChanged)> saved;
};

/// The window with all the user's choices. It changes none of them until the user saves; nothing waits for
/// it. Threads: that of the `Desktop`.
class SettingsWindow {
public:
    /// Opens it in the middle of `workArea`, filled from `settings`. One that is open already is
    /// brought to the front instead, as it is. `desktop` and `settings` outlive the window.
    void open(const Desktop& desktop, Settings& settings, const SettingsChoices& choices,
              const Rect& workArea, int32_t dpi, SettingsCallbacks callbacks);

    [[nodiscard]] bool isOpen() const { return view != nullptr; }

    /// Closes it as Cancel does.
    void close() { view.reset(); }

private:
    void pressed(SettingsControl button);
    void save();

    std::unique_ptr<SettingsView> view;
    Settings* settings = nullptr;  ///< set while `view` is there
    Form opened;                   ///< as it was before the user touched it
    SettingsChoices choices;
    SettingsCallbacks callbacks;
    int32_t modelBefore = 0;
};
