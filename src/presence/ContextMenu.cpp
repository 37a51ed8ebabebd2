#include "presence/ContextMenu.h"

#include <optional>

namespace {

MenuItem item(MenuCommand command, const char* text, std::optional<bool> checked = std::nullopt) {
    return {static_cast<int32_t>(command), text, checked};
}

}  // namespace

bool canRetryBrain(bool brainReady, bool brainStarting, bool thinking) {
    return !brainReady && !brainStarting && !thinking;
}

bool canRetryEars(bool micOn, bool earsFailed, bool earsStarting) {
    return micOn && earsFailed && !earsStarting;
}

std::vector<MenuItem> contextMenu(const MenuState& state) {
    std::vector<MenuItem> items = {
        item(MenuCommand::ask, "Ask Velu..."),
        item(MenuCommand::speakReplies, "Speak replies", state.voiceOn),
        item(MenuCommand::spin, "Do a spin"),
        item(MenuCommand::wink, "Wink"),
        item(MenuCommand::sleep, state.asleep ? "Wake up" : "Sleep"),
        item(MenuCommand::useCamera, "Use camera to see people", state.camOn),
        item(MenuCommand::listen, "Listen for \"Velu\" (microphone)", state.micOn),
    };
    if (state.canRetryBrain || state.canRetryEars) {
        items.push_back(item(MenuCommand::retryDownload, "Retry download"));
    }
    const MenuItem line;
    items.push_back(line);
    items.push_back(item(MenuCommand::settings, "Settings..."));
    items.push_back(item(MenuCommand::openDataFolder, "Open data folder"));
    items.push_back(line);
    items.push_back(item(MenuCommand::quit, "Quit Velu"));
    return items;
}
