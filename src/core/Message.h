#pragma once

#include <cstdint>
#include <string>

#include "core/TurnTimes.h"
#include "platform/geometry.h"

/// What the window thread is told, by number. Only the window thread acts on windows, so other threads post
/// what they have to say.
enum class MessageId : uint32_t {
    WM_DESTROY = 2,              ///< the head's window is to go, and the program with it
    WM_TIMER = 275,              ///< once a second
    WM_MOUSEMOVE = 512,          ///< `point`: the cursor
    WM_LBUTTONDOWN = 513,        ///< `point`: the cursor
    WM_LBUTTONUP = 514,          ///< `point`: the cursor
    WM_LBUTTONDBLCLK = 515,      ///< `point`: the cursor; between the second press and its release
    WM_RBUTTONUP = 517,          ///< `point`: the cursor
    WM_APP_VOICE_EVENT = 32769,  ///< the voice has events to be fetched
    WM_APP_SENTENCE =
        32770,  ///< `text`: one sentence of the reply; `parameter`: the tick of the model's first text
    WM_APP_BRAIN_STATUS = 32771,  ///< `text`: a progress line of the engine or of a turn
    WM_APP_TURN_DONE = 32772,     ///< always a turn's last message
    WM_APP_BRAIN_READY = 32773,   ///< `parameter`: 1 started, 0 failed
    WM_APP_TRAY = 32774,          ///< `parameter`: the number above of what the mouse did on the tray icon
    WM_APP_WAKE = 32775,          ///< the name was heard
    WM_APP_UTTERANCE = 32776,     ///< `parameter`: bit 0 a follow-up, bit 1 there is a `text`
    WM_APP_EARS_STATUS = 32777,   ///< `text`: a line of ears or eyes, or empty
    WM_APP_GREET = 32778,         ///< `text`: the name of someone who was recognised
};

struct Message {
    MessageId id{};
    uint64_t parameter = 0;
    std::string text{};
    Point point{};
    uint64_t source = 0;    ///< the number of the turn or the start that it comes from; 0: of neither
    HeardTimes heard = {};  ///< of what was heard
};
