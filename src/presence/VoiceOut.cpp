#include "presence/VoiceOut.h"

#include <iterator>
#include <string_view>
#include <utility>

#include "foundation/Text.h"
#include "foundation/Ticks.h"
#include "presence/VoiceChoice.h"

namespace {

/// The jaw's opening for each viseme.
constexpr float openings[] = {0.0F, 0.7F,  1.0F, 0.75F, 0.55F, 0.4F,  0.3F,  0.25F, 0.6F, 0.85F, 0.55F,
                              0.8F, 0.35F, 0.3F, 0.35F, 0.2F,  0.25F, 0.25F, 0.15F, 0.3F, 0.35F, 0.0F};

bool isMarkdownSign(char byte) {
    return std::string_view("#*_`").find(byte) != std::string_view::npos;
}

}  // namespace

bool VoiceOut::init(std::function<void()> onEvents) {
    voice.reset();
    pending = 0;
    mouthOpen = 0;
    voice = Synthesizer::open(std::move(onEvents));
    return voice != nullptr;
}

void VoiceOut::chooseVoice(const std::string& name) {
    if (!voice) return;
    voice->useVoice(pickVoice(voice->voices(), name));
}

std::vector<std::string> VoiceOut::listVoices() const {
    std::vector<std::string> descriptions = voice ? voice->voices() : std::vector<std::string>();
    std::erase(descriptions, "");
    return descriptions;
}

void VoiceOut::speak(const std::string& text) {
    if (!voice) return;
    std::string spoken = text;
    std::erase_if(spoken, isMarkdownSign);
    if (spoken.empty()) return;
    voice->queue(repairUtf8(std::move(spoken)));
    ++pending;
}

void VoiceOut::stop() {
    if (!voice) return;
    voice->purge();
    pending = 0;
    // Purged texts send no events, and the next text must not begin with an open mouth.
    mouthOpen = 0;
}

void VoiceOut::pumpEvents() {
    if (!voice) return;
    while (const auto event = voice->nextEvent()) {
        switch (event->kind) {
            case SpeechEvent::Kind::started:
                startedTick = tickCount();
                break;
            case SpeechEvent::Kind::viseme:
                if (event->viseme >= 0 && event->viseme < static_cast<int32_t>(std::size(openings))) {
                    mouthOpen = openings[event->viseme];
                }
                break;
            case SpeechEvent::Kind::ended:
                if (pending > 0) --pending;
                if (pending == 0) mouthOpen = 0;
                break;
        }
    }
}
