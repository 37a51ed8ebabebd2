#include "hearing/Ears.h"

#include <algorithm>

#include "foundation/Log.h"
#include "hearing/WakeWord.h"
#include "platform/texts.h"

namespace {

constexpr size_t sampleRate = 16000;

// The level meter.
constexpr int32_t levelLineMs = 5000;
constexpr int32_t deafMs = 4000;

// The room.
constexpr size_t historyChunks = 40;       // four seconds, as a microphone delivers them
constexpr size_t leastHistoryChunks = 10;  // for an estimate of the room

// The capture.
constexpr int32_t wakeWithinMs = 1800;       // of something loud; a name out of silence is a mistake
constexpr size_t preRollSamples = 24000;     // 1.5 s: the name, and what was said in one breath with it
constexpr int32_t endSilenceMs = 850;        // ends an utterance
constexpr int32_t longestCaptureMs = 14000;  // with what came before it
constexpr int32_t giveUpMs = 6000;           // of a follow-up in which nobody speaks
constexpr int32_t leastVoicedMs = 250;       // below that it was a door, not a word

int32_t millisecondsOf(size_t samples) {
    return static_cast<int32_t>(samples * 1000 / sampleRate);
}

}  // namespace

bool Ears::loadWakeModel(const std::string& path) {
    if (!recognizer.loadModel(path)) {
        logLine("vosk model failed to load from %s", path.c_str());
        return false;
    }
    return recognizer.createRecognizer(sampleRate, wakeGrammar);
}

void Ears::processChunk(const int16_t* samples, size_t count) {
    if (count == 0) return;
    const int32_t ms = millisecondsOf(count);
    const Loudness loudness = loudnessOf(samples, count);
    meter(loudness, ms);

    if (muted) {
        capturing = false;
        forgetSound();
        return;
    }
    followRoom(loudness.rms);
    const bool isLoud = loudness.rms > loudnessThreshold(noiseFloor);
    quietMs = isLoud ? 0 : std::min(quietMs, INT32_MAX - ms) + ms;

    if (!capturing) {
        if (followUpRequested.exchange(false)) {
            beginFollowUp();
        } else if (spotWakeWord(samples, count)) {
            beginWakeCapture();
        } else {
            keepPreRoll(samples, count);
            return;
        }
    }
    extendCapture(samples, count, ms, isLoud);
    const bool giveUp = followUp && !speechStarted && totalMs > giveUpMs;
    const bool isFinished = (speechStarted && silenceMs >= endSilenceMs) || totalMs >= longestCaptureMs;
    if (giveUp || isFinished) endCapture(giveUp);
}

/// Muted or not: someone who wonders why nothing is heard finds in the log what comes from the microphone.
void Ears::meter(const Loudness& loudness, int32_t ms) {
    levelPeak = std::max(levelPeak, loudness.peak);
    levelMs += ms;
    if (levelMs >= levelLineMs) {
        logLine("mic level: peak=%d rms=%.0f noise=%.0f%s", levelPeak, static_cast<double>(loudness.rms),
                static_cast<double>(noiseFloor), muted ? " (muted)" : "");
        levelMs = 0;
        levelPeak = 0;
    }
    // A microphone that is kept from us delivers zeros; one that works is never as quiet as that.
    if (loudness.peak >= 1) heardSignal = true;
    if (heardSignal || deafWarned) return;
    deadMs += ms;
    if (deadMs <= deafMs) return;
    deafWarned = true;
    if (onProblem) onProblem(platformTexts.microphoneDeaf);
}

void Ears::followRoom(float rms) {
    rmsHistory.push_back(rms);
    if (rmsHistory.size() > historyChunks) rmsHistory.pop_front();
    // Someone who speaks isn't the room.
    if (rmsHistory.size() >= leastHistoryChunks && !capturing) noiseFloor = roomNoise(rmsHistory);
}

bool Ears::spotWakeWord(const int16_t* samples, size_t count) {
    if (!recognizer.isReady()) return false;
    const bool isFinal = recognizer.accept(samples, static_cast<int32_t>(count));
    const bool heard = heardWakeWord(isFinal ? recognizer.result() : recognizer.partialResult());
    if (heard && quietMs < wakeWithinMs) return true;
    if (isFinal) recognizer.reset();
    return false;
}

void Ears::beginFollowUp() {
    capturing = true;
    followUp = true;
    utterance.clear();
    silenceMs = 0;
    totalMs = 0;
    voicedMs = 0;
    speechStarted = false;
    preRoll.clear();
    recognizer.reset();
}

/// The name is recognised after it was spoken: it lies in the pre-roll.
void Ears::beginWakeCapture() {
    capturing = true;
    followUp = false;
    utterance.assign(preRoll.begin(), preRoll.end());
    totalMs = millisecondsOf(utterance.size());
    voicedMs = totalMs / 2;
    silenceMs = 0;
    speechStarted = true;
    recognizer.reset();
    logLine("wake word heard");
    if (onWake) onWake();
}

void Ears::keepPreRoll(const int16_t* samples, size_t count) {
    preRoll.insert(preRoll.end(), samples, samples + count);
    if (preRoll.size() <= preRollSamples) return;
    preRoll.erase(preRoll.begin(),
                  preRoll.begin() + static_cast<std::ptrdiff_t>(preRoll.size() - preRollSamples));
}

void Ears::extendCapture(const int16_t* samples, size_t count, int32_t ms, bool isLoud) {
    utterance.insert(utterance.end(), samples, samples + count);
    totalMs += ms;
    if (isLoud) {
        speechStarted = true;
        voicedMs += ms;
        silenceMs = 0;
    } else {
        silenceMs += ms;
    }
}

void Ears::endCapture(bool giveUp) {
    capturing = false;
    std::vector<int16_t> result;
    if (!giveUp && voicedMs >= leastVoicedMs) result = std::move(utterance);
    forgetSound();
    if (onUtterance) onUtterance(std::move(result), followUp);
}

void Ears::forgetSound() {
    utterance.clear();
    preRoll.clear();
    recognizer.reset();
}
