#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

#include "assistant/Assistant.h"
#include "brain/Brain.h"
#include "core/MessageQueue.h"
#include "core/TaskSlot.h"
#include "foundation/Paths.h"
#include "hearing/Ears.h"
#include "hearing/SpeechEngine.h"
#include "hearing/WakeWord.h"
#include "vision/Eyes.h"

/// Brings up what takes long behind the head that is already there: the language model's server, the ears
/// with theirs, and the eyes with their models. Each comes up, or fails, on its own. What happens is posted,
/// tagged with the number of the start.
///
/// Threads: the window thread's, but for `ensureBrain`.
class BringUp {
public:
    BringUp(Brain& theBrain, Assistant& theAssistant, SpeechEngine& theSpeech, Ears& theEars, Eyes& theEyes,
            MessageQueue& queue)
        : brain(theBrain),
          assistant(theAssistant),
          speech(theSpeech),
          ears(theEars),
          eyes(theEyes),
          messages(queue) {}

    /// Starts the engine with the model of the settings, in place of a start that is under way.
    void startBrainWorker();

    /// Sees to it, on a turn's thread, that the engine answers: waits for a start that is under way and, when
    /// it isn't ready then, starts it once more. Posts how that went with the turn's number. False when there
    /// is no engine, or the turn was cancelled.
    [[nodiscard]] bool ensureBrain(uint64_t turn, CancelFlag* cancel);

    /// Takes note of what came by `WM_APP_BRAIN_READY`. False for news of a start that was replaced.
    bool noteBrainReady(const Message& message);

    /// Starts to listen, if the user wants that and it isn't done: with the speech engine first, which may
    /// have to be fetched, then the model that knows the name.
    void startEarsWorker();

    /// Ends the listening, and what is under way to it. The speech engine stays.
    void stopEars();

    /// Listens with what the settings say by now; doesn't disturb a fetching that is under way.
    void restartEars();

    /// Starts to look, if the user wants that and it isn't done: with the models first, once.
    void startEyesWorker();

    /// Ends the looking, and what is under way to it. The models stay.
    void stopEyes();

    std::string wakeModel = wakeModelFolder();     ///< where the model that knows the name lies
    std::string faceModels = assetPath("models");  ///< where those lie that know faces

    std::atomic<bool> earsStarting = false;  ///< an ears worker is at it
    std::atomic<bool> earsFailed = false;    ///< the speech engine couldn't be set up

    // Window thread only.
    bool brainReady = false;
    bool brainStarting = false;   ///< by a brain worker
    uint64_t startNumber = 0;     ///< of the newest start of the brain
    uint64_t earsNumber = 0;      ///< of the newest start of the ears
    uint64_t eyesNumber = 0;      ///< of the newest start of the eyes
    std::string lastBrainStatus;  ///< the newest line, of a start or of a turn

    /// A number that no turn and no start has had.
    uint64_t nextNumber() { return ++lastNumber; }

    TaskSlot brainWorker;
    TaskSlot earsWorker;
    TaskSlot eyesWorker;

private:
    [[nodiscard]] StatusFn statusOf(uint64_t source);
    void workBrain(uint64_t start, int32_t modelIndex, CancelFlag* cancel);
    void workEars(uint64_t start, CancelFlag* cancel);
    void workEyes(uint64_t start, CancelFlag* cancel);

    Brain& brain;
    Assistant& assistant;
    SpeechEngine& speech;
    Ears& ears;
    Eyes& eyes;
    MessageQueue& messages;
    std::mutex brainMutex;         ///< one thread at a time starts the engine
    std::mutex earsMutex;          ///< a worker that was called off doesn't start the ears behind their end
    std::mutex eyesMutex;          ///< the same for the eyes
    bool wakeModelLoaded = false;  ///< ears worker only
    bool eyesLoaded = false;       ///< eyes worker only
    uint64_t lastNumber = 0;       ///< window thread only
};
