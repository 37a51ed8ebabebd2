#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "assistant/Assistant.h"
#include "brain/Brain.h"
#include "core/Messages.h"
#include "foundation/Endpoints.h"
#include "platform/desktop.h"
#include "presence/HeadAnimator.h"
#include "presence/HeadRenderer.h"

/// The one application object: it owns the subsystems, from start to end of the process, and routes between
/// them.
///
/// Threads: made and run on the entry's thread, which is the window thread. Others use `messages`.
class Companion {
public:
    /// The catalogue and the hosts are the public ones but in tests.
    explicit Companion(const Endpoints& endpoints = {},
                       const std::vector<ModelInfo>& models = modelCatalogue())
        : brain(endpoints, models), assistant(brain, endpoints) {}

    // Owned subsystems. The window is null but in the normal mode; the renderer draws into its surface.
    std::unique_ptr<Desktop> desktop;
    std::unique_ptr<HeadWindow> window;
    HeadRenderer renderer;
    HeadAnimator animator;
    Brain brain;
    Assistant assistant;
    MessageQueue messages;

    // Window thread only, from here on.
    int32_t windowWidth = 204;   ///< of the head's window, pixels
    int32_t windowHeight = 240;  ///< of the head's window, pixels
    bool asleep = false;
    bool dragMoved = false;  ///< this press has moved past the drag threshold
    bool pressed = false;    ///< the left button went down on the head and hasn't come up
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

private:
    void dragTo(Point cursor);
    void release();
    void savePlace();
    void everySecond();
    void frame(float seconds);
};

/// The process's companion: set right after it was made, before any mode runs, and never cleared.
extern Companion* theCompanion;
