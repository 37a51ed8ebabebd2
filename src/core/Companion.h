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
    /// The catalogue and the hosts are the public ones but in tests.
    explicit Companion(const Endpoints& endpoints = {},
                       const std::vector<ModelInfo>& models = modelCatalogue())
        : brain(endpoints, models), assistant(brain, endpoints), speech(endpoints) {}

    // Owned subsystems, each after those that it uses. What shows on the desktop is there in the normal mode
    // only; the renderer draws into the window's surface.
    MessageQueue messages;
    Brain brain;
    Assistant assistant;
    SpeechEngine speech;
    Ears ears;
    Transcriptions transcriptions{ears, speech, messages};
    Eyes eyes;
    std::unique_ptr<Desktop> desktop;
    std::unique_ptr<HeadWindow> window;
    HeadRenderer renderer;
    HeadAnimator animator;
    VoiceOut voice;
    Bubble bubble;
    BringUp bringUp{brain, assistant, speech, ears, eyes, messages};
    Conversation conversation{assistant, bringUp, ears, voice, bubble, messages};
    std::unique_ptr<MenuView> menu;
    SettingsWindow settingsWindow;

    // Window thread only, from here on.
    int32_t windowWidth = 204;   ///< of the head's window, pixels
    int32_t windowHeight = 240;  ///< of the head's window, pixels
    bool asleep = false;
    std::string lastSeenText;  ///< what the assistant was last told of who is seen
    bool dragMoved = false;    ///< this press has moved past the drag threshold
    bool pressed = false;      ///< the left button went down on the head and hasn't come up
    Point dragStartCursor;
    Point dragStartWindow;
    bool placeUnconfirmed = false;  ///< the window manager may not have left the head where it was dragged
    std::optional<int> exitCode;    ///< set when the program is to end

    /// Handles one message. Those of parts that aren't there do nothing.
    void windowProc(const Message& message);

    /// Sizes, places and shows the head's window, by the settings or, with `keepPosition`, where it stands.
    void placeWindow(bool keepPosition);

    /// Runs frame after frame until the program is to end. Returns the exit code.
    int mainLoop();

    /// Once through the loop: what has happened, a frame, and what happens until the next is due.
    void pass();

private:
    using Clock = FramePacer::Clock;

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
    uint64_t timerDue = 0;  ///< of `tickCount`; 0: with the next pass
};

/// The process's companion: set right after it was made, before any mode runs, and never cleared.
extern Companion* theCompanion;
