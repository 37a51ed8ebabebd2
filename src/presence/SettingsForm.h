#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/Settings.h"
#include "platform/settings_view.h"

// What the settings window holds and what becomes of it. Threads: any.

/// The lists that the user chooses from, as they are when the window opens.
struct SettingsChoices {
    std::vector<std::string> models;  ///< their names, in the order of the catalogue
    std::vector<std::string> voices;
    std::vector<std::string> microphones;
};

/// The controls that have something to report or to keep.
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

/// The window, filled from `settings`, in the middle of `workArea`. A voice or a microphone is found by a
/// part of its name, of several the last one; one that isn't there shows as the automatic choice, a size
/// that isn't offered as "Medium".
Form settingsForm(const Settings& settings, const SettingsChoices& choices, const Rect& workArea,
                  int32_t dpi);

/// Takes over what the user has entered, and saves the settings. `choices` are those of the form.
void applySettingsForm(const std::vector<Control>& controls, const SettingsChoices& choices,
                       Settings& settings);
