#include "core/BringUp.h"

#include <exception>

#include "foundation/Log.h"
#include "foundation/Settings.h"
#include "foundation/Ticks.h"

void BringUp::startBrainWorker() {
    brainReady = false;
    brainStarting = true;
    startNumber = nextNumber();
    const int32_t modelIndex = Settings::instance().modelIndex;
    brainWorker.start([this, number = startNumber, modelIndex](CancelFlag* cancel) {
        try {
            workBrain(number, modelIndex, cancel);
        } catch (const std::exception& error) {
            logLine("brain worker ended by an unexpected error: %s", error.what());
            messages.post({MessageId::WM_APP_BRAIN_READY, 0, {}, {}, number});
        }
    });
}

void BringUp::workBrain(uint64_t start, int32_t modelIndex, CancelFlag* cancel) {
    // To the end: a question that comes meanwhile waits until the server has read what all turns begin with.
    const std::unique_lock<std::mutex> lock = lockUnlessCancelled(brainMutex, cancel);
    if (!lock) return;
    const bool isReady = brain.start(modelIndex, statusOf(start), cancel);
    if (*cancel) return;
    messages.post({MessageId::WM_APP_BRAIN_READY, isReady ? 1U : 0U, {}, {}, start});
    if (isReady) assistant.warmUp(cancel);
}

bool BringUp::ensureBrain(uint64_t turn, CancelFlag* cancel) {
    const std::unique_lock<std::mutex> lock = lockUnlessCancelled(brainMutex, cancel);
    if (!lock) return false;
    const bool isReady = brain.ready || brain.start(Settings::instance().modelIndex, statusOf(turn), cancel);
    messages.post({MessageId::WM_APP_BRAIN_READY, isReady ? 1U : 0U, {}, {}, turn});
    return isReady;
}

bool BringUp::noteBrainReady(const Message& message) {
    const bool isReady = message.parameter == 1;
    // That the engine answers is true whoever has started it, unless another model is being loaded by now.
    if (message.source < startNumber && !(isReady && !brainStarting)) return false;
    if (message.source == startNumber) brainStarting = false;
    brainReady = isReady;
    return true;
}

void BringUp::startEarsWorker() {
    const Settings& settings = Settings::instance();
    if (!settings.micOn || ears.running) return;
    ears.setDevice(settings.micDevice.get());
    // Before the engine is there the ears haven't been started: the worker that is at it takes the new
    // device.
    if (earsStarting && !speech.ready) return;
    earsStarting = true;
    earsFailed = false;
    earsNumber = nextNumber();
    earsWorker.start([this, number = earsNumber](CancelFlag* cancel) {
        earsStarting = true;  // the end of the one before it has cleared it
        try {
            workEars(number, cancel);
        } catch (const std::exception& error) {
            logLine("ears worker ended by an unexpected error: %s", error.what());
            earsFailed = true;
        }
        earsStarting = false;
    });
}

void BringUp::workEars(uint64_t start, CancelFlag* cancel) {
    const auto tell = [this, start](const std::string& line) {
        messages.post({MessageId::WM_APP_EARS_STATUS, 0, line, {}, start});
    };
    if (!speech.ready && !speech.start(tell, tell, cancel)) {
        if (*cancel) return;
        earsFailed = true;
        tell(
            "I couldn't set up my ears (speech recognition). Check your internet connection, then "
            "right-click me and choose \"Retry download\".");
        return;
    }
    if (!wakeModelLoaded) {
        if (!ears.loadWakeModel(wakeModel)) {
            tell("I couldn't load my wake-word model.");
            return;
        }
        wakeModelLoaded = true;
    }
    const std::lock_guard guard(earsMutex);
    if (*cancel) return;
    // The good news goes first, so that it doesn't cover what the microphone has to complain of.
    tell("");
    (void)ears.start();
}

void BringUp::stopEars() {
    earsWorker.cancel();
    earsStarting = false;
    earsNumber = nextNumber();  // what the worker still has to say is of no interest
    const std::lock_guard guard(earsMutex);
    ears.stop();
}

void BringUp::restartEars() {
    if (!Settings::instance().micOn) {
        stopEars();
        return;
    }
    ears.setDevice(Settings::instance().micDevice.get());
    {
        const std::lock_guard guard(earsMutex);
        ears.stop();
    }
    startEarsWorker();
}

void BringUp::startEyesWorker() {
    if (!Settings::instance().camOn || eyes.running) return;
    eyesNumber = nextNumber();
    eyesWorker.start([this, number = eyesNumber](CancelFlag* cancel) {
        try {
            workEyes(number, cancel);
        } catch (const std::exception& error) {
            logLine("eyes worker ended by an unexpected error: %s", error.what());
        }
    });
}

void BringUp::workEyes(uint64_t start, CancelFlag* cancel) {
    // The eyes keep what tells of them longer than this may last.
    const auto tell = [&queue = messages, start](const std::string& line) {
        queue.post({MessageId::WM_APP_EARS_STATUS, 0, line, {}, start});
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
    eyes.onGreet = [&queue = messages, start](const std::string& name) {
        queue.post({MessageId::WM_APP_GREET, 0, name, {}, start});
    };
    (void)eyes.start("");
}

void BringUp::stopEyes() {
    eyesWorker.cancel();
    eyesNumber = nextNumber();  // what the camera still has to say is of no interest
    const std::lock_guard guard(eyesMutex);
    eyes.stop();
}

StatusFn BringUp::statusOf(uint64_t source) {
    return [this, source](const std::string& line) {
        messages.post({MessageId::WM_APP_BRAIN_STATUS, 0, line, {}, source});
    };
}
