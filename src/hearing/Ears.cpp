#include "hearing/Ears.h"

#include <algorithm>
#include <exception>

#include "foundation/Log.h"
#include "hearing/Loudness.h"
#include "hearing/Samples.h"
#include "hearing/WakeWord.h"
#include "platform/texts.h"

namespace {

constexpr int32_t readWaitMs = 200;

// A healthy sound system lists its devices within milliseconds. A window that is being opened can't wait for
// a sick one; a sound system that is just starting gets the time to bring up the chosen microphone.
constexpr int32_t showListMs = 500;
constexpr int32_t chooseMs = 3000;

constexpr size_t historyChunks = 40;       // four seconds, as a microphone delivers them
constexpr size_t leastHistoryChunks = 10;  // for an estimate of the room
constexpr int32_t wakeWithinMs = 1800;     // of something loud; a name out of silence is a mistake

}  // namespace

std::vector<std::string> Ears::listDevices() {
    std::vector<std::string> names;
    for (MicrophoneDevice& device : listMicrophones(showListMs, nullptr))
        names.push_back(std::move(device.name));
    return names;
}

bool Ears::loadWakeModel(const std::string& path) {
    if (!recognizer.loadModel(path)) {
        logLine("vosk model failed to load from %s", path.c_str());
        return false;
    }
    return recognizer.createRecognizer(sampleRate, wakePhrases());
}

bool Ears::start() {
    const std::lock_guard guard(lifecycle);
    if (running) return true;
    if (captureThread.joinable()) captureThread.join();  // it ended by itself
    stopRequested = false;
    followUpRequested = false;  // one that came too late for the last capture thread
    meter.restart();
    running = true;
    try {
        captureThread = std::thread([this] { capture(); });
    } catch (...) {
        running = false;
        throw;
    }
    return true;
}

void Ears::stop() {
    const std::lock_guard guard(lifecycle);
    stopRequested = true;
    if (captureThread.joinable()) {
        microphone.interrupt();
        captureThread.join();
        microphone.close();  // an interruption that came too late isn't for the next start
        forgetSound();
    }
    running = false;
    capturing = false;
}

void Ears::shutdown() {
    stop();
    recognizer.free();
}

void Ears::capture() {
    try {
        readMicrophone();
    } catch (const std::exception& error) {
        logLine("microphone capture ended by an unexpected error: %s", error.what());
    } catch (...) {
        logLine("microphone capture ended by an unexpected error");
    }
    microphone.close();
    capturing = false;
    running = false;
}

void Ears::readMicrophone() {
    if (!openMicrophone()) return;
    logLine("microphone capture started");
    std::vector<int16_t> samples;
    MicrophoneState state = MicrophoneState::running;
    while (!stopRequested) {
        state = microphone.read(samples, readWaitMs);
        if (state != MicrophoneState::running) break;
        if (stopRequested) break;
        if (onAudio && !samples.empty()) onAudio(samples.data(), samples.size());
        processChunk(samples.data(), samples.size());
    }
    if (!stopRequested) reportMicrophone(state);
    logLine("microphone capture stopped");
}

bool Ears::openMicrophone() {
    const std::string wanted = deviceName.get();
    MicrophoneDevice device;
    if (!wanted.empty()) {
        const std::vector<MicrophoneDevice> devices = listMicrophones(chooseMs, &stopRequested);
        const auto found =
            std::find_if(devices.begin(), devices.end(), [&](const MicrophoneDevice& candidate) {
                return candidate.name.find(wanted) != std::string::npos;
            });
        if (found != devices.end()) device = {found->id, wanted};
    }
    logLine("opening microphone: %s",
            device.id.empty() ? platformTexts.defaultMicrophone : device.name.c_str());
    const MicrophoneState state = microphone.open(device.id);
    if (state == MicrophoneState::running) return true;
    if (!stopRequested) reportMicrophone(state);
    return false;
}

void Ears::reportMicrophone(MicrophoneState state) {
    logLine("%s%u", platformTexts.microphoneFailed, microphone.errorCode());
    if (!onProblem) return;
    onProblem(state == MicrophoneState::notFound ? "I couldn't find a microphone."
                                                 : platformTexts.microphoneUnusable);
}

void Ears::processChunk(const int16_t* samples, size_t count) {
    if (count == 0) return;
    const int32_t ms = millisecondsOf(count);
    const Loudness loudness = loudnessOf(samples, count);
    const bool isDeaf = meter.add(loudness, ms, noiseFloor, muted);
    if (isDeaf && onProblem) onProblem(platformTexts.microphoneDeaf);

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
            cutter.keepPreRoll(samples, count);
            return;
        }
    }
    if (cutter.extend(samples, count, isLoud)) endCapture();
}

void Ears::followRoom(float rms) {
    rmsHistory.push_back(rms);
    if (rmsHistory.size() > historyChunks) rmsHistory.pop_front();
    // Someone who speaks isn't the room.
    if (rmsHistory.size() >= leastHistoryChunks && !capturing) noiseFloor = roomNoise(rmsHistory);
}

bool Ears::spotWakeWord(const int16_t* samples, size_t count) {
    if (!recognizer.isReady()) return false;
    const WakeResult result = recognizer.accept(samples, static_cast<int32_t>(count));
    if (heardWakeWord(result.text) && quietMs < wakeWithinMs) return true;
    if (result.isFinal) recognizer.reset();
    return false;
}

void Ears::beginFollowUp() {
    capturing = true;
    cutter.beginFollowUp();
    recognizer.reset();
}

void Ears::beginWakeCapture() {
    capturing = true;
    cutter.beginWithPreRoll();
    recognizer.reset();
    logLine("wake word heard");
    if (onWake) onWake();
}

void Ears::endCapture() {
    capturing = false;
    std::vector<int16_t> samples = cutter.finish();
    recognizer.reset();
    if (onUtterance) onUtterance(std::move(samples), cutter.isFollowUp());
}

void Ears::forgetSound() {
    cutter.forget();
    recognizer.reset();
}
