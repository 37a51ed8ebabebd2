#include "core/Transcriptions.h"

#include <string>
#include <utility>

#include "core/Guard.h"
#include "foundation/Log.h"
#include "foundation/Ticks.h"

namespace {

constexpr const char* taskName = "transcription";

}  // namespace

void Transcriptions::listen(Ears& ears) {
    ears.onWake = [this] {
        wakeTick = tickCount();
        messages.post(Wake{});
    };
    ears.onUtterance = [this](std::vector<int16_t> samples, bool isFollowUp) {
        onUtterance(std::move(samples), isFollowUp);
    };
    ears.onProblem = [this](const std::string& sentence) { messages.post(EarsProblem{0, sentence}); };
}

void Transcriptions::onUtterance(std::vector<int16_t> samples, bool isFollowUp) {
    Utterance utterance{session, isFollowUp, "", {}};
    if (samples.empty()) {
        messages.post(utterance);
        return;
    }
    utterance.heard = {isFollowUp ? 0 : wakeTick, tickCount(), 0};
    std::list<Transcription> begun(1);
    Transcription& transcription = begun.front();
    auto body = [this, &transcription, samples = std::move(samples), utterance] {
        if (!guarded(taskName, [&] { transcribe(samples, utterance); })) messages.post(utterance);
        transcription.isDone = true;
    };
    // The list holds only transcriptions that got a thread.
    if (!guarded(taskName, [&] { transcription.thread = std::thread(std::move(body)); })) {
        messages.post(utterance);
        return;
    }
    const std::lock_guard guard(transcribeMutex);
    transcribeThreads.splice(transcribeThreads.end(), begun);
}

void Transcriptions::transcribe(const std::vector<int16_t>& samples, Utterance utterance) {
    utterance.text = speech.transcribe(samples, &quit);
    logLine("heard: '%s'", utterance.text.c_str());
    utterance.heard.transcript = tickCount();
    messages.post(std::move(utterance));
}

void Transcriptions::reap() {
    const std::lock_guard guard(transcribeMutex);
    transcribeThreads.remove_if([](Transcription& transcription) {
        if (!transcription.isDone) return false;
        transcription.thread.join();
        return true;
    });
}

void Transcriptions::join() {
    const std::lock_guard guard(transcribeMutex);
    for (Transcription& transcription : transcribeThreads)
        transcription.thread.join();
    transcribeThreads.clear();
}
