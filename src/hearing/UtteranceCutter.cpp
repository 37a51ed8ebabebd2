#include "hearing/UtteranceCutter.h"

#include <utility>

#include "hearing/Samples.h"

namespace {

constexpr size_t preRollSamples = 24000;     // 1.5 s: the name, and what was said in one breath with it
constexpr int32_t endSilenceMs = 850;        // ends an utterance
constexpr int32_t longestCaptureMs = 14000;  // the pre-roll included
constexpr int32_t giveUpMs = 6000;           // of a follow-up in which nobody speaks
constexpr int32_t leastVoicedMs = 250;       // anything shorter was a door, not a word

}  // namespace

void UtteranceCutter::keepPreRoll(const int16_t* samples, size_t count) {
    preRoll.insert(preRoll.end(), samples, samples + count);
    if (preRoll.size() <= preRollSamples) return;
    preRoll.erase(preRoll.begin(),
                  preRoll.begin() + static_cast<std::ptrdiff_t>(preRoll.size() - preRollSamples));
}

void UtteranceCutter::beginWithPreRoll() {
    followUp = false;
    utterance.assign(preRoll.begin(), preRoll.end());
    totalMs = millisecondsOf(utterance.size());
    voicedMs = totalMs / 2;
    silenceMs = 0;
    speechStarted = true;
}

void UtteranceCutter::beginFollowUp() {
    forget();
    followUp = true;
    totalMs = 0;
    voicedMs = 0;
    silenceMs = 0;
    speechStarted = false;
}

bool UtteranceCutter::extend(const int16_t* samples, size_t count, bool isLoud) {
    const int32_t ms = millisecondsOf(count);
    utterance.insert(utterance.end(), samples, samples + count);
    totalMs += ms;
    if (isLoud) {
        speechStarted = true;
        voicedMs += ms;
        silenceMs = 0;
    } else {
        silenceMs += ms;
    }
    return givesUp() || (speechStarted && silenceMs >= endSilenceMs) || totalMs >= longestCaptureMs;
}

std::vector<int16_t> UtteranceCutter::finish() {
    std::vector<int16_t> result;
    if (!givesUp() && voicedMs >= leastVoicedMs) result = std::move(utterance);
    forget();
    return result;
}

bool UtteranceCutter::givesUp() const {
    return followUp && !speechStarted && totalMs > giveUpMs;
}

void UtteranceCutter::forget() {
    utterance.clear();
    preRoll.clear();
}
