#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "core/TurnTimes.h"
#include "platform/geometry.h"

// What happens to the window thread: one struct for each kind of message. Only that thread acts on windows,
// so all other threads post messages. Positions of the cursor are in pixels of the whole desktop.

/// The number of each kind of message.
enum class MessageId : uint32_t {
    WM_DESTROY = 2,
    WM_TIMER = 275,
    WM_MOUSEMOVE = 512,
    WM_LBUTTONDOWN = 513,
    WM_LBUTTONUP = 514,
    WM_LBUTTONDBLCLK = 515,
    WM_RBUTTONUP = 517,
    WM_APP_VOICE_EVENT = 32769,
    WM_APP_SENTENCE = 32770,
    WM_APP_BRAIN_STATUS = 32771,
    WM_APP_TURN_DONE = 32772,
    WM_APP_BRAIN_READY = 32773,
    WM_APP_TRAY = 32774,
    WM_APP_WAKE = 32775,
    WM_APP_UTTERANCE = 32776,
    WM_APP_EARS_STATUS = 32777,
    WM_APP_GREET = 32778,
};

/// The program is to end.
struct Destroy {
    static constexpr auto id = MessageId::WM_DESTROY;
};

/// Another second has passed.
struct TimerTick {
    static constexpr auto id = MessageId::WM_TIMER;
};

/// The pointer moved over the head, or anywhere while the left button is held on the head.
struct PointerMoved {
    static constexpr auto id = MessageId::WM_MOUSEMOVE;
    Point cursor;
};

/// The left button went down on the head.
struct LeftPressed {
    static constexpr auto id = MessageId::WM_LBUTTONDOWN;
    Point cursor;
};

/// The left button went up. May come without a press.
struct LeftReleased {
    static constexpr auto id = MessageId::WM_LBUTTONUP;
};

/// The second press of a double click. Comes between `LeftPressed` and `LeftReleased`.
struct DoubleClicked {
    static constexpr auto id = MessageId::WM_LBUTTONDBLCLK;
};

/// The right button went up on the head.
struct RightReleased {
    static constexpr auto id = MessageId::WM_RBUTTONUP;
    Point cursor;
};

/// The tray icon was clicked.
struct TrayClicked {
    static constexpr auto id = MessageId::WM_APP_TRAY;
};

/// The voice has events to be fetched.
struct VoiceEvent {
    static constexpr auto id = MessageId::WM_APP_VOICE_EVENT;
};

/// A turn has the next sentence of its reply.
struct Sentence {
    static constexpr auto id = MessageId::WM_APP_SENTENCE;
    uint64_t turn = 0;
    std::string text;
    uint64_t firstTokenTick = 0;  ///< when the model's first text came, of `tickCount`; 0: not from the model
};

/// A progress line of the engine's start or of a turn.
struct BrainStatus {
    static constexpr auto id = MessageId::WM_APP_BRAIN_STATUS;
    uint64_t source = 0;  ///< the number of the start or the turn
    std::string line;
};

/// The last message of a turn, whether or not it was cancelled.
struct TurnDone {
    static constexpr auto id = MessageId::WM_APP_TURN_DONE;
    uint64_t turn = 0;
};

/// The engine's start succeeded or failed.
struct BrainReady {
    static constexpr auto id = MessageId::WM_APP_BRAIN_READY;
    uint64_t source = 0;  ///< the number of the start, or of the turn that started the engine
    bool isReady = false;
};

/// The ears heard the name.
struct Wake {
    static constexpr auto id = MessageId::WM_APP_WAKE;
};

/// The ears have captured an utterance, and its text is known.
struct Utterance {
    static constexpr auto id = MessageId::WM_APP_UTTERANCE;
    uint64_t session = 0;     ///< of `Transcriptions`
    bool isFollowUp = false;  ///< the companion had asked, so no name is needed
    std::string text;         ///< empty: nothing was understood
    HeardTimes heard;
};

/// A progress line of the speech engine's start.
struct EarsProgress {
    static constexpr auto id = MessageId::WM_APP_EARS_STATUS;
    uint64_t source = 0;  ///< the number of the start
    std::string line;
};

/// A sentence for the user about ears or eyes.
struct EarsProblem {
    static constexpr auto id = MessageId::WM_APP_EARS_STATUS;
    uint64_t source = 0;  ///< the number of the start; 0: none, it is always current
    std::string sentence;
};

/// The ears are about to listen.
struct EarsReady {
    static constexpr auto id = MessageId::WM_APP_EARS_STATUS;
    uint64_t source = 0;  ///< the number of the start
};

/// The eyes recognised someone who is to be greeted.
struct Greet {
    static constexpr auto id = MessageId::WM_APP_GREET;
    uint64_t source = 0;  ///< the number of the eyes' start
    std::string name;
};

using Message = std::variant<Destroy, TimerTick, PointerMoved, LeftPressed, LeftReleased, DoubleClicked,
                             RightReleased, TrayClicked, VoiceEvent, Sentence, BrainStatus, TurnDone,
                             BrainReady, Wake, Utterance, EarsProgress, EarsProblem, EarsReady, Greet>;
