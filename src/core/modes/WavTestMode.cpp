#include "core/modes/WavTestMode.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <vector>

#include "core/CommandLine.h"
#include "core/Companion.h"
#include "core/modes/RunOutput.h"
#include "foundation/Files.h"
#include "foundation/Log.h"
#include "foundation/Text.h"
#include "hearing/Recording.h"

namespace {

constexpr size_t leadSamples = 19200;  // 1.2 s, for the ears to get to know the room
constexpr size_t tailSamples = 48000;  // 3 s, for them to notice that nobody speaks any more
constexpr size_t chunkSamples = 1600;

void reportUtterance(SpeechEngine& speech, const RunOutput& output, const std::vector<int16_t>& samples,
                     bool followUp, CancelFlag* cancel) {
    output.add("[utterance " + std::to_string(samples.size() / 16) + "ms followUp=" + (followUp ? "1" : "0") +
               "]");
    if (samples.empty()) return;
    const std::string text = speech.transcribe(samples, cancel);
    output.add("[heard] " + text);
    std::string command = text;
    if (!followUp && !SpeechEngine::extractCommand(text, command)) {
        command = "(no wake word - would be ignored)";
    }
    output.add("[command] " + command);
}

/// The samples of the file with silence around them; the output is told why there are none.
bool readSound(const std::string& path, const RunOutput& output, std::vector<int16_t>& sound) {
    std::string bytes;
    Recording recording;
    const bool isRead = readWholeFile(path, bytes);
    const RecordingError error = isRead ? readRecording(bytes, recording) : RecordingError::tooShort;
    if (error != RecordingError::none) {
        output.add(error == RecordingError::noData ? "[error] no data chunk" : "[error] cannot read wav");
        return false;
    }
    if (!recording.mismatch.empty()) {
        logLine("%s isn't what the ears know: it is %s, and taken for 1 channel, 16000 Hz, 16 bits",
                path.c_str(), recording.mismatch.c_str());
    }
    sound.assign(leadSamples, 0);
    sound.insert(sound.end(), recording.samples.begin(), recording.samples.end());
    sound.resize(sound.size() + tailSamples);
    return true;
}

}  // namespace

WavTestOrder wavTestOrder(const std::string& arguments) {
    const std::string_view path = std::string_view(arguments).substr(0, arguments.find(" --"));
    const size_t end = path.find_last_not_of(' ');
    return {stripQuotes(path.substr(0, end == std::string_view::npos ? 0 : end + 1)),
            arguments.find(" --followup") != std::string::npos};
}

int runWavTestMode(Companion& companion, const WavTestOrder& order) {
    const RunOutput output;
    SpeechEngine& speech = companion.speech;
    Ears& ears = companion.ears;
    const std::atomic<bool> cancel = false;  // one stops this mode by ending the program
    const auto onStatus = [&](const std::string& line) { output.add("[status] " + line); };
    if (!speech.start(onStatus, onStatus, &cancel)) {
        output.add("[error] stt");
        return 1;
    }
    if (!ears.loadWakeModel(companion.bringUp.wakeModel)) {
        output.add("[error] vosk model");
        return 1;
    }
    ears.onWake = [&] { output.add("[wake]"); };
    ears.onUtterance = [&](const std::vector<int16_t>& samples, bool followUp) {
        reportUtterance(speech, output, samples, followUp, &cancel);
    };
    std::vector<int16_t> sound;
    if (!readSound(order.path, output, sound)) return 1;
    if (order.followUp) ears.followUpRequested = true;
    for (size_t at = 0; at < sound.size(); at += chunkSamples)
        ears.processChunk(&sound[at], std::min(chunkSamples, sound.size() - at));
    output.add("[done]");
    speech.stop();
    return 0;
}
