#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/Settings.h"
#include "platform/settings_view.h"

// The controls of the settings window, and what saving them does. Threads: any.

/// The choices of the lists, as they are when the window opens.
struct SettingsChoices {
    std::vector<std::string> models;  ///< names in the catalogue's order
    std::vector<std::string> voices;
    std::vector<std::string> microphones;
};

/// The controls with a value or an action.
enum class SettingsControl : int32_t {
    save = 1,
    cancel = 2,
    userName = 100,
    model = 101,
    size = 102,
    voice = 103,
    voiceOn = 104,
    alwaysOnTop = 105,
    webResearch = 106,
    startWithWindows = 107,
    micOn = 108,
    camOn = 109,
    microphone = 110,
    clearConversation = 111,
    forget = 112,
};

/// Returns the window, filled from `settings`, in the middle of `workArea`. A voice or a microphone is found
/// by a part of its name; the last match counts. One that isn't found shows as the automatic choice, and a
/// size that isn't offered as "Medium".
Form settingsForm(const Settings& settings, const SettingsChoices& choices, const Rect& workArea,
                  int32_t dpi);

/// Copies the user's input to the settings and saves them. `choices` are those of the form.
void applySettingsForm(const std::vector<Control>& controls, const SettingsChoices& choices,
                       Settings& settings);
