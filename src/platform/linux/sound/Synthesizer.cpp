#include "platform/synthesizer.h"

#include <utility>

#include "platform/linux/sound/SpeechQueue.h"

struct Synthesizer::Parts {
    explicit Parts(std::function<void()> onEvents) : queue(std::move(onEvents)) {}

    SpeechQueue queue;
    std::vector<std::string> descriptions;
    std::string voice = EspeakSpeech::defaultVoice;  ///< of the texts queued from now on
};

Synthesizer::Synthesizer(std::unique_ptr<Parts> parts) : parts(std::move(parts)) {}
Synthesizer::~Synthesizer() = default;

std::unique_ptr<Synthesizer> Synthesizer::open(std::function<void()> onEvents) {
    auto parts = std::make_unique<Parts>(std::move(onEvents));
    if (!parts->queue.open()) return nullptr;
    for (const auto& voice : parts->queue.voices())
        parts->descriptions.push_back(voice.description);
    return std::unique_ptr<Synthesizer>(new Synthesizer(std::move(parts)));
}

const std::vector<std::string>& Synthesizer::voices() const {
    return parts->descriptions;
}

void Synthesizer::useVoice(std::optional<size_t> voice) {
    parts->voice = voice ? parts->queue.voices().at(*voice).id : EspeakSpeech::defaultVoice;
}

void Synthesizer::queue(std::string text) {
    parts->queue.add(std::move(text), parts->voice);
}

void Synthesizer::purge() {
    parts->queue.purge();
}

std::optional<SpeechEvent> Synthesizer::nextEvent() {
    return parts->queue.nextEvent();
}
