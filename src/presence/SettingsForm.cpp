#include "presence/SettingsForm.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <utility>

#include "foundation/Scaling.h"
#include "foundation/Text.h"
#include "platform/texts.h"

namespace {

using Id = SettingsControl;
using Kind = ControlKind;
constexpr Id none{};

/// Places and sizes in 1/96 inch.
struct Row {
    Id id;
    Kind kind;
    const char* text;
    int32_t x, y, width, height;
};

// Not constexpr, because some texts depend on the system.
const Row rows[] = {
    {none, Kind::label, "Your name (what Velu calls you)", 16, 14, 380, 18},
    {Id::userName, Kind::edit, "", 16, 34, 380, 24},
    {none, Kind::label, "Brain (local model, runs on this PC)", 16, 70, 380, 18},
    {Id::model, Kind::list, "", 16, 90, 380, 200},
    {none, Kind::label, "Size", 16, 126, 180, 18},
    {Id::size, Kind::list, "", 16, 146, 180, 200},
    {none, Kind::label, "Voice", 212, 126, 184, 18},
    {Id::voice, Kind::list, "", 212, 146, 184, 200},
    {Id::voiceOn, Kind::checkBox, "Speak replies out loud", 16, 188, 380, 22},
    {Id::alwaysOnTop, Kind::checkBox, "Keep Velu above other windows", 16, 214, 380, 22},
    {Id::webResearch, Kind::checkBox, "Let Velu research on the internet", 16, 240, 380, 22},
    {Id::startWithWindows, Kind::checkBox, platformTexts.startAtLogon, 16, 266, 380, 22},
    {Id::micOn, Kind::checkBox, "Listen for \"Velu\" through the microphone", 16, 290, 380, 22},
    {Id::camOn, Kind::checkBox, "Use the camera to see and recognise people (stays on this PC)", 16, 316, 380,
     22},
    {none, Kind::label, "Microphone", 16, 346, 380, 18},
    {Id::microphone, Kind::list, "", 16, 366, 380, 200},
    {Id::clearConversation, Kind::button, "Clear conversation", 16, 410, 180, 28},
    {Id::forget, Kind::button, "Forget what I know about me", 212, 410, 184, 28},
    {Id::save, Kind::defaultButton, "Save", 212, 460, 88, 30},
    {Id::cancel, Kind::button, "Cancel", 308, 460, 88, 30},
};

constexpr int32_t windowWidth = 420;
constexpr int32_t windowHeight = 534;
// The desktop adds the window's frame around our size. These are the sizes of a usual frame.
constexpr int32_t frameSide = 4;
constexpr int32_t frameTop = 24;
constexpr int32_t fontHeight = 13;

struct Size {
    const char* name;
    int32_t pixels;
};
constexpr Size sizes[] = {{"Small", 180}, {"Medium", 240}, {"Large", 320}, {"Extra large", 420}};
constexpr int32_t medium = 1;

struct Switch {
    Id id;
    std::atomic<bool> Settings::*setting;
};
constexpr Switch switches[] = {
    {Id::voiceOn, &Settings::voiceOn},
    {Id::alwaysOnTop, &Settings::alwaysOnTop},
    {Id::webResearch, &Settings::webResearch},
    {Id::startWithWindows, &Settings::startWithWindows},
    {Id::micOn, &Settings::micOn},
    {Id::camOn, &Settings::camOn},
};

Rect scaledPlace(const Row& row, int32_t dpi) {
    const int32_t left = mulDiv(row.x, dpi, 96);
    const int32_t top = mulDiv(row.y, dpi, 96);
    return {left, top, left + mulDiv(row.width, dpi, 96), top + mulDiv(row.height, dpi, 96)};
}

std::vector<std::string> withFirst(const char* first, const std::vector<std::string>& names) {
    std::vector<std::string> entries = {first};
    entries.insert(entries.end(), names.begin(), names.end());
    return entries;
}

/// Returns the index in a list that starts with an automatic choice.
int32_t entryOf(const std::vector<std::string>& names, const std::string& part) {
    int32_t entry = 0;
    for (size_t index = 0; !part.empty() && index < names.size(); ++index) {
        if (names[index].find(part) != std::string::npos) entry = static_cast<int32_t>(index) + 1;
    }
    return entry;
}

/// Returns the name at the index; empty for the automatic choice.
std::string nameOf(const std::vector<std::string>& names, int32_t entry) {
    const auto index = static_cast<size_t>(entry) - 1;
    return entry > 0 && index < names.size() ? names[index] : std::string();
}

int32_t sizeEntry(int32_t pixels) {
    const auto* found = std::find_if(std::begin(sizes), std::end(sizes),
                                     [pixels](const Size& size) { return size.pixels == pixels; });
    return found == std::end(sizes) ? medium : static_cast<int32_t>(found - sizes);
}

void fill(Control& control, Id id, const Settings& settings, const SettingsChoices& choices) {
    switch (id) {
        case Id::userName:
            control.text = settings.userName.get();
            return;
        case Id::model:
            control.entries = choices.models;
            control.selected = settings.modelIndex;
            return;
        case Id::size:
            for (const Size& size : sizes)
                control.entries.emplace_back(size.name);
            control.selected = sizeEntry(settings.sizePx);
            return;
        case Id::voice:
            control.entries = withFirst("Automatic", choices.voices);
            control.selected = entryOf(choices.voices, settings.voiceName.get());
            return;
        case Id::microphone:
            control.entries = withFirst(platformTexts.defaultMicrophone, choices.microphones);
            control.selected = entryOf(choices.microphones, settings.micDevice.get());
            return;
        default:
            break;
    }
    for (const Switch& one : switches) {
        if (one.id == id) control.checked = settings.*one.setting;
    }
}

void apply(const Control& control, const SettingsChoices& choices, Settings& settings) {
    constexpr size_t longestName = 255;
    constexpr int32_t modelCount = 3;
    const Id id{control.id};
    switch (id) {
        case Id::userName:
            settings.userName.set(std::string(cutToUnits(control.text, longestName)));
            return;
        case Id::model:
            if (control.selected >= 0 && control.selected < modelCount)
                settings.modelIndex = control.selected;
            return;
        case Id::size:
            if (control.selected >= 0 && control.selected < static_cast<int32_t>(std::size(sizes)))
                settings.sizePx = sizes[control.selected].pixels;
            return;
        case Id::voice:
            settings.voiceName.set(nameOf(choices.voices, control.selected));
            return;
        case Id::microphone:
            settings.micDevice.set(nameOf(choices.microphones, control.selected));
            return;
        default:
            break;
    }
    for (const Switch& one : switches) {
        if (one.id == id) settings.*one.setting = control.checked;
    }
}

}  // namespace

Form settingsForm(const Settings& settings, const SettingsChoices& choices, const Rect& workArea,
                  int32_t dpi) {
    Form form;
    form.title = "Velu Settings";
    form.fontSize = mulDiv(fontHeight, dpi, 96);
    const int32_t left = (workArea.left + workArea.right - mulDiv(windowWidth, dpi, 96)) / 2;
    const int32_t top = (workArea.top + workArea.bottom - mulDiv(windowHeight, dpi, 96)) / 2;
    form.place = {left, top, left + mulDiv(windowWidth - 2 * frameSide, dpi, 96),
                  top + mulDiv(windowHeight - frameTop - frameSide, dpi, 96)};
    for (const Row& row : rows) {
        Control control;
        control.id = static_cast<int32_t>(row.id);
        control.kind = row.kind;
        control.text = row.text;
        control.place = scaledPlace(row, dpi);
        fill(control, row.id, settings, choices);
        form.controls.push_back(std::move(control));
    }
    return form;
}

void applySettingsForm(const std::vector<Control>& controls, const SettingsChoices& choices,
                       Settings& settings) {
    for (const Control& control : controls)
        apply(control, choices, settings);
    settings.save();
}
