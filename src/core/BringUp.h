#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
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

/// What the user wants to run.
struct BringUpChoices {
    int32_t modelIndex = 0;  ///< row of the model catalogue
    bool micOn = false;
    std::string micDevice;  ///< part of a microphone's name; empty: the system's default
    bool camOn = false;
};

/// Starts what takes long while the head is already there: the language model's server, the ears with their
/// server, and the eyes with their models. Each of them starts, or fails, independently. What happens is
/// posted, tagged with the number of the start.
///
/// Threads: window thread only, except `ensureBrain`.
class BringUp {
public:
    /// `theChoices` is called on any thread.
    BringUp(Brain& theBrain, Assistant& theAssistant, SpeechEngine& theSpeech, Ears& theEars, Eyes& theEyes,
            MessageQueue& queue, std::function<BringUpChoices()> theChoices)
        : brain(theBrain),
          assistant(theAssistant),
          speech(theSpeech),
          ears(theEars),
          eyes(theEyes),
          messages(queue),
          choices(std::move(theChoices)) {}

    /// Starts the engine with the chosen model. Replaces a start in progress.
    void startBrainWorker();

    /// Makes sure, on a turn's thread, that the engine answers: waits for a start in progress and, if the
    /// engine isn't ready then, starts it once more. Posts the outcome with the turn's number. Returns false
    /// when there is no engine or the turn was cancelled.
    [[nodiscard]] bool ensureBrain(uint64_t turn, CancelFlag* cancel);

    /// Takes note of how a start ended. Returns false for a start that was replaced.
    bool noteBrainReady(const BrainReady& message);

    /// Starts to listen if the user wants that and the ears aren't running: first the speech engine, which
    /// may have to be fetched, then the model that knows the name.
    void startEarsWorker();

    /// Stops the ears and cancels their start. The speech engine stays.
    void stopEars();

    /// Applies changed choices to the ears. Doesn't disturb a download in progress.
    void restartEars();

    /// Starts to look if the user wants that and the eyes aren't running: first the models, once.
    void startEyesWorker();

    /// Stops the eyes and cancels their start. The models stay.
    void stopEyes();

    std::string wakeModel = wakeModelFolder();     ///< folder of the model that knows the name
    std::string faceModels = assetPath("models");  ///< folder of the models that know faces

    std::atomic<bool> earsStarting = false;  ///< an ears worker is running
    std::atomic<bool> earsFailed = false;    ///< the speech engine couldn't be set up

    // Window thread only.
    bool brainReady = false;
    bool brainStarting = false;   ///< by a brain worker
    uint64_t startNumber = 0;     ///< of the newest start of the brain
    uint64_t earsNumber = 0;      ///< of the newest start of the ears
    uint64_t eyesNumber = 0;      ///< of the newest start of the eyes
    std::string lastBrainStatus;  ///< the newest line, of a start or of a turn

    /// Returns a number that no turn and no start has had.
    uint64_t nextNumber() { return ++lastNumber; }

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
    const std::function<BringUpChoices()> choices;
    std::mutex brainMutex;         ///< one thread at a time starts the engine
    std::mutex earsMutex;          ///< a cancelled worker doesn't start the ears after `stopEars`
    std::mutex eyesMutex;          ///< the same for the eyes
    bool wakeModelLoaded = false;  ///< ears worker only
    bool eyesLoaded = false;       ///< eyes worker only
    uint64_t lastNumber = 0;       ///< window thread only

public:
    // Last, because the workers use everything above.
    TaskSlot brainWorker{"brain worker"};
    TaskSlot earsWorker{"ears worker"};
    TaskSlot eyesWorker{"eyes worker"};
};
