#include "platform/linux/sound/EspeakSpeech.h"

#include <espeak-ng/speak_lib.h>

#include <algorithm>
#include <exception>
#include <string_view>

#include "platform/linux/sound/Visemes.h"

const std::string EspeakSpeech::defaultVoice = "gmw/en-US+f3";

struct audio_object;

/// Replaces the function of this name in the sound library under espeak-ng. espeak-ng opens a sound device
/// when it starts, even if it is to play nothing, and would wait for ever for a sound server that hangs. We
/// play the samples ourselves, so it gets no device.
extern "C" audio_object* create_audio_device_object(const char* /*device*/, const char* /*application*/,
                                                    const char* /*description*/) {
    return nullptr;
}

namespace {

constexpr int wordsPerMinute = 185;  // a notch above the library's normal 175
constexpr int fullVolume = 100;

/// Returns the library's sample rate, or 0. The library is started once for the process, because it can't be
/// restarted.
int startLibrary() {
    static int rate = 0;
    if (rate > 0) return rate;
    constexpr int defaultStretch = 0;
    rate = std::max(0, espeak_Initialize(AUDIO_OUTPUT_SYNCHRONOUS, defaultStretch, nullptr,
                                         espeakINITIALIZE_PHONEME_EVENTS | espeakINITIALIZE_DONT_EXIT));
    return rate;
}

std::vector<EspeakSpeech::Voice> listVoices() {
    std::vector<EspeakSpeech::Voice> voices;
    const espeak_VOICE** listed = espeak_ListVoices(nullptr);
    for (; listed != nullptr && *listed != nullptr; ++listed) {
        const std::string_view id = (*listed)->identifier;
        // Skips the voices of another synthesiser, which need its data, and variants, which aren't voices.
        if (id.starts_with("mb/") || id.starts_with("!v/")) continue;
        voices.push_back({(*listed)->name, std::string(id)});
    }
    return voices;
}

std::string_view mnemonicOf(const espeak_EVENT& event) {
    const std::string_view whole(event.id.string, sizeof event.id.string);
    return whole.substr(0, whole.find('\0'));
}

/// One text, as the library's callback gets it.
struct Text {
    const EspeakSpeech::Take& take;
    std::exception_ptr error;  ///< thrown by `take`; it must not pass through the library
};

/// The library's callback; 1 tells it to stop.
int takeStretch(short* samples, int count, espeak_EVENT* event) {
    auto& text = *static_cast<Text*>(event->user_data);
    if (samples == nullptr) return 0;
    try {
        std::vector<EspeakSpeech::Shape> shapes;
        for (; event->type != espeakEVENT_LIST_TERMINATED; ++event) {
            if (event->type != espeakEVENT_PHONEME) continue;
            const auto viseme = visemeOf(mnemonicOf(*event));
            if (viseme) shapes.push_back({static_cast<uint64_t>(event->sample), *viseme});
        }
        return text.take({samples, static_cast<size_t>(count)}, shapes) ? 0 : 1;
    } catch (...) {
        text.error = std::current_exception();
        return 1;
    }
}

}  // namespace

bool EspeakSpeech::open() {
    sampleRate = static_cast<uint32_t>(startLibrary());
    if (sampleRate == 0) return false;
    espeak_SetSynthCallback(takeStretch);
    voices = listVoices();
    return setVoice(defaultVoice);
}

bool EspeakSpeech::setVoice(const std::string& voice) {
    if (espeak_SetVoiceByName(voice.c_str()) != EE_OK) return false;
    espeak_SetParameter(espeakRATE, wordsPerMinute, 0);
    espeak_SetParameter(espeakVOLUME, fullVolume, 0);
    speaking = voice;
    return true;
}

void EspeakSpeech::speak(std::string text, const std::string& voice, const Take& take) {
    if (voice != speaking && !setVoice(voice)) speaking = voice;
    // Control characters are commands to the library, and a zero would end the text.
    for (char& byte : text) {
        if (static_cast<unsigned char>(byte) < ' ') byte = byte == '\n' ? '\n' : ' ';
    }
    Text spoken{take, nullptr};
    // Without the pause at its end each sentence would run into the next.
    espeak_Synth(text.c_str(), text.size() + 1, 0, POS_CHARACTER, 0, espeakCHARS_UTF8 | espeakENDPAUSE,
                 nullptr, &spoken);
    if (spoken.error) std::rethrow_exception(spoken.error);
}
