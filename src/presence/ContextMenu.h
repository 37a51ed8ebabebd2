#pragma once

#include <cstdint>
#include <vector>

#include "platform/menu_view.h"

// The entries of the context menu. Threads: any.

/// The commands. Their values are the ids of the menu's items.
enum class MenuCommand : int32_t {
    ask = 1,
    speakReplies = 2,
    spin = 3,
    wink = 4,
    sleep = 5,  ///< or wake up
    listen = 6,
    useCamera = 7,
    settings = 8,
    openDataFolder = 9,
    quit = 10,
    retryDownload = 11,
};

/// The state that the menu shows.
struct MenuState {
    bool asleep = false;
    bool voiceOn = false;
    bool camOn = false;
    bool micOn = false;
    bool canRetryBrain = false;
    bool canRetryEars = false;
};

/// Returns whether the brain should be started again.
bool canRetryBrain(bool brainReady, bool brainStarting, bool thinking);

/// Returns whether the ears should be started again.
bool canRetryEars(bool micOn, bool earsFailed, bool earsStarting);

/// Returns the menu's items from top to bottom.
std::vector<MenuItem> contextMenu(const MenuState& state);
