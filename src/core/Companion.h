#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "assistant/Assistant.h"
#include "brain/Brain.h"
#include "core/BringUp.h"
#include "core/Conversation.h"
#include "core/FramePacer.h"
#include "core/Gestures.h"
#include "core/MessageQueue.h"
#include "core/Transcriptions.h"
#include "foundation/Endpoints.h"
#include "foundation/Settings.h"
#include "platform/desktop.h"
#include "platform/menu_view.h"
#include "presence/Bubble.h"
#include "presence/HeadAnimator.h"
#include "presence/HeadRenderer.h"
#include "presence/SettingsWindow.h"
#include "presence/VoiceOut.h"
#include "vision/Eyes.h"

/// The one application object: it owns the subsystems, from start to end of the process, and routes between
/// them.
///
/// Threads: made and run on the entry's thread, which is the window thread. Others use `messages`.
class Companion {
public:
    /// Only tests hand in hosts and a catalogue of their own.
    explicit Companion(Settings& theSettings, const Endpoints& endpoints = {},
                       const std::vector<ModelInfo>& models = modelCatalogue());

    Settings& settings;

    // The subsystems. Each stands behind those that it uses, also from callbacks, because they are destroyed
    // in the opposite order. `desktop`, `window` and `menu` exist in the normal mode only.
    MessageQueue messages;
    Brain brain;
    Assistant assistant;
    SpeechEngine speech;
    Transcriptions transcriptions{speech, messages};
    Ears ears;
    Eyes eyes;
    std::unique_ptr<Desktop> desktop;
    std::unique_ptr<HeadWindow> window;
    HeadRenderer renderer;
    HeadAnimator animator;
    VoiceOut voice;
    Bubble bubble;
    BringUp bringUp;
    Conversation conversation;
    std::unique_ptr<MenuView> menu;
    SettingsWindow settingsWindow;

    // Window thread only, from here on.
    int32_t windowWidth = 204;   ///< of the head's window, pixels
    int32_t windowHeight = 240;  ///< of the head's window, pixels
    bool asleep = false;
    std::string lastSeenText;  ///< what the assistant was last told of who is seen
    bool dragMoved = false;    ///< this press has moved past the drag threshold
    bool pressed = false;      ///< the left button went down on the head and hasn't come up yet
    Point dragStartCursor;
    Point dragStartWindow;
    bool placeUnconfirmed = false;  ///< the window manager may not have left the head where it was dragged
    std::optional<int> exitCode;    ///< set when the program is to end

    /// Handles one message. What goes wrong then is logged.
    void windowProc(const Message& message);

    /// Sizes and shows the head's window, at the saved position or, with `keepPosition`, where it stands.
    void placeWindow(bool keepPosition);

    /// Blocks until the program is to end, showing frame after frame. Returns the exit code.
    int mainLoop();

    /// Runs the loop once: handles what has happened, shows a frame, and handles messages until the next
    /// frame is due.
    void pass();

private:
    using Clock = FramePacer::Clock;

    void handle(const Message& message);
    void press(Point cursor);
    void dragTo(Point cursor);
    void release();
    void savePlace();
    void everySecond();
    void handleMessages();
    void frame();
    [[nodiscard]] Gaze look(Rect place);
    [[nodiscard]] HeadState headState() const;

    FramePacer pacer;
    Clock::time_point previousFrame = Clock::now();
    uint64_t timerDue = 0;  ///< of `tickCount`
};

/// The process's companion. Set right after it was made, before any mode runs, and never cleared.
extern Companion* theCompanion;
