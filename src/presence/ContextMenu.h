#pragma once

#include <cstdint>
#include <vector>

#include "platform/menu_view.h"

// What the context menu holds. Threads: any.

/// The commands, by the numbers under which the menu reports them.
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

/// What the menu depends on.
struct MenuState {
    bool asleep = false;
    bool voiceOn = false;
    bool camOn = false;
    bool micOn = false;
    bool canRetryBrain = false;
    bool canRetryEars = false;
};

/// Whether starting the brain again makes sense.
bool canRetryBrain(bool brainReady, bool brainStarting, bool thinking);

/// Whether starting the ears again makes sense.
bool canRetryEars(bool micOn, bool earsFailed, bool earsStarting);

/// The menu from top to bottom.
std::vector<MenuItem> contextMenu(const MenuState& state);
