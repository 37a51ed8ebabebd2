#include <algorithm>
#include <exception>

#include "foundation/Log.h"
#include "hearing/Ears.h"
#include "platform/texts.h"

// The life of the capture thread.

namespace {

constexpr int32_t readWaitMs = 200;

// A sound system that is well needs a few milliseconds for its list. While one opens a window nobody waits
// for a sick one; one that only just comes up doesn't get another microphone than the chosen one.
constexpr int32_t showListMs = 500;
constexpr int32_t chooseMs = 3000;

}  // namespace

std::vector<std::string> Ears::listDevices() {
    std::vector<std::string> names;
    for (MicrophoneDevice& device : listMicrophones(showListMs, nullptr))
        names.push_back(std::move(device.name));
    return names;
}

bool Ears::start() {
    const std::lock_guard guard(lifecycle);
    if (running) return true;
    if (captureThread.joinable()) captureThread.join();  // it ended by itself
    stopRequested = false;
    followUpRequested = false;  // one that came too late for the last time
    running = true;
    heardSignal = false;
    deafWarned = false;
    deadMs = 0;
    captureThread = std::thread([this] { capture(); });
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
        if (openMicrophone()) {
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
    } catch (const std::exception& error) {
        logLine("microphone capture ended by an unexpected error: %s", error.what());
    }
    microphone.close();
    capturing = false;
    running = false;
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
