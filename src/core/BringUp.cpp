#include "core/BringUp.h"

#include <utility>

#include "foundation/Ticks.h"

void BringUp::startBrainWorker() {
    brainReady = false;
    brainStarting = true;
    startNumber = nextNumber();
    brainWorker.start([this, number = startNumber, modelIndex = choices().modelIndex](
                          CancelFlag* cancel) { workBrain(number, modelIndex, cancel); },
                      [this, number = startNumber] {
                          messages.post(BrainReady{number, false});
                      });
}

void BringUp::workBrain(uint64_t start, int32_t modelIndex, CancelFlag* cancel) {
    // Held to the end: a question that comes meanwhile waits until the server has read what all turns begin
    // with.
    const std::unique_lock<std::mutex> lock = lockUnlessCancelled(brainMutex, cancel);
    if (!lock) return;
    const bool isReady = brain.start(modelIndex, statusOf(start), cancel);
    if (*cancel) return;
    messages.post(BrainReady{start, isReady});
    if (isReady) assistant.warmUp(cancel);
}

bool BringUp::ensureBrain(uint64_t turn, CancelFlag* cancel) {
    const std::unique_lock<std::mutex> lock = lockUnlessCancelled(brainMutex, cancel);
    if (!lock) return false;
    const bool isReady = brain.ready || brain.start(choices().modelIndex, statusOf(turn), cancel);
    messages.post(BrainReady{turn, isReady});
    return isReady;
}

bool BringUp::noteBrainReady(const BrainReady& message) {
    // A ready engine is ready whoever started it, unless another model is being loaded by now.
    if (message.source < startNumber && !(message.isReady && !brainStarting)) return false;
    if (message.source == startNumber) brainStarting = false;
    brainReady = message.isReady;
    return true;
}

void BringUp::startEarsWorker() {
    const BringUpChoices wanted = choices();
    if (!wanted.micOn || ears.running) return;
    ears.setDevice(wanted.micDevice);
    // As long as there is no speech engine the running worker hasn't started the ears, so it will start them
    // with the new device.
    if (earsStarting && !speech.ready) return;
    earsStarting = true;
    earsFailed = false;
    earsNumber = nextNumber();
    earsWorker.start(
        [this, number = earsNumber](CancelFlag* cancel) {
            earsStarting = true;  // the worker before may have cleared it when it ended
            workEars(number, cancel);
            earsStarting = false;
        },
        [this] {
            earsFailed = true;
            earsStarting = false;
        });
}

void BringUp::workEars(uint64_t start, CancelFlag* cancel) {
    const auto tellProgress = [this, start](const std::string& line) {
        messages.post(EarsProgress{start, line});
    };
    const auto tellProblem = [this, start](const std::string& sentence) {
        messages.post(EarsProblem{start, sentence});
    };
    if (!speech.ready && !speech.start(tellProgress, tellProblem, cancel)) {
        if (*cancel) return;
        earsFailed = true;
        tellProblem(
            "I couldn't set up my ears (speech recognition). Check your internet connection, then "
            "right-click me and choose \"Retry download\".");
        return;
    }
    if (!wakeModelLoaded) {
        if (!ears.loadWakeModel(wakeModel)) {
            tellProblem("I couldn't load my wake-word model.");
            return;
        }
        wakeModelLoaded = true;
    }
    const std::lock_guard guard(earsMutex);
    if (*cancel) return;
    // Before the start, so that it doesn't close the bubble over what the microphone complains of.
    messages.post(EarsReady{start});
    (void)ears.start();
}

void BringUp::stopEars() {
    earsWorker.cancel();
    earsStarting = false;
    earsNumber = nextNumber();  // drops what the worker still has to say
    const std::lock_guard guard(earsMutex);
    ears.stop();
}

void BringUp::restartEars() {
    const BringUpChoices wanted = choices();
    if (!wanted.micOn) {
        stopEars();
        return;
    }
    ears.setDevice(wanted.micDevice);
    {
        const std::lock_guard guard(earsMutex);
        ears.stop();
    }
    startEarsWorker();
}

void BringUp::startEyesWorker() {
    if (!choices().camOn || eyes.running) return;
    eyesNumber = nextNumber();
    eyesWorker.start([this, number = eyesNumber](CancelFlag* cancel) { workEyes(number, cancel); }, [] {});
}

void BringUp::workEyes(uint64_t start, CancelFlag* cancel) {
    // Without `this`: the eyes may call it as long as they live, which is longer than this object.
    const auto tell = [&queue = messages, start](const std::string& sentence) {
        queue.post(EarsProblem{start, sentence});
    };
    if (!eyesLoaded) {
        if (!eyes.loadModels(faceModels)) {
            if (!*cancel) tell("I couldn't load my face models.");
            return;
        }
        eyesLoaded = true;
    }
    const std::lock_guard guard(eyesMutex);
    if (*cancel) return;
    eyes.onProblem = tell;
    eyes.onGreet = [&queue = messages, start](const std::string& name) { queue.post(Greet{start, name}); };
    (void)eyes.start("");
}

void BringUp::stopEyes() {
    eyesWorker.cancel();
    eyesNumber = nextNumber();  // drops what the camera still has to say
    const std::lock_guard guard(eyesMutex);
    eyes.stop();
}

StatusFn BringUp::statusOf(uint64_t source) {
    return [this, source](const std::string& line) { messages.post(BrainStatus{source, line}); };
}
