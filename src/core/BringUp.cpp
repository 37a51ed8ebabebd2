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
    const std::unique_lock<std::mutex> lock = lockBrain(cancel);
    if (!lock) return;
    const bool isReady = brain.start(modelIndex, statusOf(start), cancel);
    if (*cancel) return;
    messages.post({MessageId::WM_APP_BRAIN_READY, isReady ? 1U : 0U, {}, {}, start});
    if (isReady) assistant.warmUp(cancel);
}

bool BringUp::ensureBrain(uint64_t turn, CancelFlag* cancel) {
    const std::unique_lock<std::mutex> lock = lockBrain(cancel);
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

std::unique_lock<std::mutex> BringUp::lockBrain(CancelFlag* cancel) {
    constexpr uint64_t pauseMs = 20;
    std::unique_lock<std::mutex> lock(brainMutex, std::try_to_lock);
    while (!lock && pauseUnlessCancelled(pauseMs, cancel))
        (void)lock.try_lock();
    return lock;
}

StatusFn BringUp::statusOf(uint64_t source) {
    return [this, source](const std::string& line) {
        messages.post({MessageId::WM_APP_BRAIN_STATUS, 0, line, {}, source});
    };
}
