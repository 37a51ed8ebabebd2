#include "platform/wake_recognizer.h"

#include "platform/linux/recogniser/SphinxRecognizer.h"
#include "platform/linux/recogniser/VoskRecognizer.h"

/// At most one of the two exists.
struct WakeRecognizer::Parts {
    std::unique_ptr<VoskRecognizer> vosk;
    std::unique_ptr<SphinxRecognizer> sphinx;
    bool isFresh = true;  ///< nothing was accepted since the last reset

    [[nodiscard]] bool isReady() const { return (vosk && vosk->isReady()) || (sphinx && sphinx->isReady()); }
};

WakeRecognizer::WakeRecognizer() : parts(std::make_unique<Parts>()) {}
WakeRecognizer::~WakeRecognizer() = default;

bool WakeRecognizer::loadModel(const std::string& folder) {
    free();
    auto vosk = std::make_unique<VoskRecognizer>();
    if (vosk->loadModel(folder)) {
        parts->vosk = std::move(vosk);
        return true;
    }
    auto sphinx = std::make_unique<SphinxRecognizer>();
    if (!sphinx->loadModel(folder)) return false;
    parts->sphinx = std::move(sphinx);
    return true;
}

bool WakeRecognizer::createRecognizer(float sampleRate, const std::vector<std::string>& phrases) {
    parts->isFresh = true;
    if (parts->vosk) return parts->vosk->createRecognizer(sampleRate, phrases);
    return parts->sphinx && parts->sphinx->createRecognizer(sampleRate, phrases);
}

bool WakeRecognizer::isReady() const {
    return parts->isReady();
}

WakeResult WakeRecognizer::accept(const int16_t* samples, int32_t count) {
    if (!parts->isReady() || count <= 0) return {};
    parts->isFresh = false;
    return parts->vosk ? parts->vosk->accept(samples, count) : parts->sphinx->accept(samples, count);
}

void WakeRecognizer::reset() {
    if (!parts->isReady() || parts->isFresh) return;
    parts->isFresh = true;
    if (parts->vosk) {
        parts->vosk->reset();
    } else {
        parts->sphinx->reset();
    }
}

void WakeRecognizer::free() {
    parts->vosk.reset();
    parts->sphinx.reset();
    parts->isFresh = true;
}
