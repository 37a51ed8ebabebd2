#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "assistant/Assistant.h"
#include "brain/Brain.h"
#include "core/Messages.h"
#include "core/TaskSlot.h"

/// Brings up what takes long behind the head that is already there: the language model's server. What happens
/// is posted, tagged with the number of the start.
///
/// Threads: the window thread's, but for `ensureBrain`.
class BringUp {
public:
    BringUp(Brain& theBrain, Assistant& theAssistant, MessageQueue& queue)
        : brain(theBrain), assistant(theAssistant), messages(queue) {}

    /// Starts the engine with the model of the settings, in place of a start that is under way.
    void startBrainWorker();

    /// Sees to it, on a turn's thread, that the engine answers: waits for a start that is under way and, when
    /// it isn't ready then, starts it once more. Posts how that went with the turn's number. False when there
    /// is no engine, or the turn was cancelled.
    [[nodiscard]] bool ensureBrain(uint64_t turn, CancelFlag* cancel);

    /// Takes note of what came by `WM_APP_BRAIN_READY`. False for news of a start that was replaced.
    bool noteBrainReady(const Message& message);

    // Window thread only.
    bool brainReady = false;
    bool brainStarting = false;   ///< by a brain worker
    uint64_t startNumber = 0;     ///< of the newest start
    std::string lastBrainStatus;  ///< the newest line, of a start or of a turn

    /// A number that no turn and no start has had.
    uint64_t nextNumber() { return ++lastNumber; }

    TaskSlot brainWorker;

private:
    /// Waits for the only right to start the engine; without it when cancelled.
    std::unique_lock<std::mutex> lockBrain(CancelFlag* cancel);
    [[nodiscard]] StatusFn statusOf(uint64_t source);
    void workBrain(uint64_t start, int32_t modelIndex, CancelFlag* cancel);

    Brain& brain;
    Assistant& assistant;
    MessageQueue& messages;
    std::mutex brainMutex;    ///< one thread at a time starts the engine
    uint64_t lastNumber = 0;  ///< window thread only
};
