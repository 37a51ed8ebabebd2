#include "core/Transcriptions.h"

#include <exception>
#include <string>
#include <utility>

#include "foundation/Log.h"
#include "foundation/Ticks.h"

void Transcriptions::listen() {
    ears.onWake = [this] {
        wakeTick = tickCount();
        messages.post({MessageId::WM_APP_WAKE});
    };
    ears.onUtterance = [this](std::vector<int16_t> samples, bool followUp) {
        onUtterance(std::move(samples), followUp);
    };
    ears.onProblem = [this](const std::string& sentence) {
        messages.post({MessageId::WM_APP_EARS_STATUS, 0, sentence});
    };
}

void Transcriptions::onUtterance(std::vector<int16_t> samples, bool followUp) {
    if (samples.empty()) {
        messages.post({MessageId::WM_APP_UTTERANCE, followUp ? 1U : 0U, {}, {}, session});
        return;
    }
    const HeardTimes heard{followUp ? 0 : wakeTick, tickCount(), 0};
    // In the list only with its thread, which may not be to be had.
    std::list<Transcription> begun(1);
    Transcription& transcription = begun.front();
    transcription.thread = std::thread(
        [this, &transcription, samples = std::move(samples), followUp, source = session.load(), heard] {
            try {
                transcribeUtterance(samples, followUp, source, heard);
            } catch (const std::exception& error) {
                logLine("transcription ended by an unexpected error: %s", error.what());
            }
            transcription.isDone = true;
        });
    const std::lock_guard guard(transcribeMutex);
    transcribeThreads.splice(transcribeThreads.end(), begun);
}

void Transcriptions::transcribeUtterance(const std::vector<int16_t>& samples, bool followUp, uint64_t source,
                                         HeardTimes heard) {
    const std::string text = speech.transcribe(samples, &quit);
    logLine("heard: '%s'", text.c_str());
    heard.transcript = tickCount();
    messages.post({MessageId::WM_APP_UTTERANCE, followUp ? 3U : 2U, text, {}, source, heard});
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
