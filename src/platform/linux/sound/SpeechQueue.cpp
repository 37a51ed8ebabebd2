#include "platform/linux/sound/SpeechQueue.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "platform/system.h"

namespace {

using Kind = SpeechEvent::Kind;

/// How exactly in time events are told while something is heard.
constexpr auto tick = std::chrono::milliseconds(10);

void report(const char* what) {
    debugOutput("speech was interrupted by an unexpected error: ");
    debugOutput(what);
    debugOutput("\n");
}

/// Runs the action. Returns false when it threw, which is reported.
template <typename Action>
bool guarded(Action action) {
    try {
        action();
        return true;
    } catch (const std::exception& error) {
        report(error.what());
    } catch (...) {
        report("not a standard exception");
    }
    return false;
}

}  // namespace

SpeechQueue::~SpeechQueue() {
    if (!worker.joinable()) return;
    {
        const std::scoped_lock lock(mutex);
        isEnding = true;
        ++generation;
    }
    playback->wake();
    worker.join();
}

bool SpeechQueue::open() {
    playback = PulsePlayback::create();
    if (!playback || !speech.open()) return false;
    worker = std::thread([this] { work(); });
    return true;
}

void SpeechQueue::add(std::string text, std::string voice) {
    {
        const std::scoped_lock lock(mutex);
        texts.push_back({std::move(text), std::move(voice)});
    }
    playback->wake();
}

void SpeechQueue::purge() {
    {
        const std::scoped_lock lock(mutex);
        ++generation;
        texts.clear();
        events.clear();
    }
    playback->wake();
}

std::optional<SpeechEvent> SpeechQueue::nextEvent() {
    const std::scoped_lock lock(mutex);
    if (events.empty()) return std::nullopt;
    const SpeechEvent event = events.front();
    events.pop_front();
    return event;
}

void SpeechQueue::work() {
    const auto speakAll = [this] {
        while (const auto text = nextText())
            speak(*text);
    };
    while (!guarded(speakAll))
        guarded([this] { giveUp(); });
}

std::optional<SpeechQueue::Text> SpeechQueue::nextText() {
    while (true) {
        {
            const std::scoped_lock lock(mutex);
            if (isEnding) return std::nullopt;
            // What a purge left sounding is silenced before the next text.
            if (generation == heardGeneration && !texts.empty()) {
                Text text = std::move(texts.front());
                texts.pop_front();
                return text;
            }
        }
        step(Synthesis::idle, playback->isStarted() ? tick : PulsePlayback::forever);
    }
}

void SpeechQueue::speak(const Text& text) {
    isSpeaking = true;
    playback->start(speech.sampleRate);
    uint64_t taken = 0;
    speech.speak(text.words, text.voice, [&](auto samples, const auto& shapes) {
        // Places are counted afresh for each stretch: silence may have gone between it and the last.
        const uint64_t position = written + ahead.size();
        if (taken == 0 && !samples.empty()) marks.push_back({position, {Kind::started}});
        for (const auto& shape : shapes)
            marks.push_back({position + shape.sample - taken, {Kind::viseme, shape.viseme}});
        ahead.insert(ahead.end(), samples.begin(), samples.end());
        taken += samples.size();
        // Not the whole of a long text at once: the server is served in between, and little is kept.
        step(Synthesis::running, std::chrono::microseconds(0));
        while (isSpeaking && ahead.size() > speech.sampleRate)
            step(Synthesis::running, tick);
        return isSpeaking;
    });
    if (isSpeaking) marks.push_back({written + ahead.size(), {Kind::ended}});
    isSpeaking = false;
}

void SpeechQueue::step(Synthesis synthesis, std::chrono::microseconds longestWait) {
    playback->wait(longestWait);
    if (isPurged()) {
        forget();
    } else if (playback->isLost()) {
        giveUp();
    } else if (playback->isStarted()) {
        feed(synthesis);
        tell();
        // Nobody listens to the silence after the last end; an idle companion leaves the server alone.
        if (synthesis == Synthesis::idle && marks.empty()) forget();
    }
}

void SpeechQueue::feed(Synthesis synthesis) {
    size_t wanted = playback->wanted();
    const size_t count = std::min(wanted, ahead.size());
    if (count > 0) {
        playback->write({ahead.data(), count});
        ahead.erase(ahead.begin(), ahead.begin() + static_cast<std::ptrdiff_t>(count));
        wanted -= count;
        written += count;
    }
    // Silence keeps the stream's clock going until the last end has been heard.
    if (synthesis == Synthesis::idle && wanted > 0) {
        playback->write(std::vector<int16_t>(wanted));
        written += wanted;
    }
}

void SpeechQueue::tell() {
    const uint64_t heard = playback->heard().value_or(0);
    std::vector<SpeechEvent> told;
    while (!marks.empty() && marks.front().position < heard) {
        told.push_back(marks.front().event);
        marks.pop_front();
    }
    post(told);
}

/// Silences everything that was synthesised so far.
void SpeechQueue::forget() {
    playback->stop();
    ahead.clear();
    marks.clear();
    written = 0;
    isSpeaking = false;
    const std::scoped_lock lock(mutex);
    heardGeneration = generation;
}

/// Ends all texts, because nothing can be heard. The next text tries the server again.
void SpeechQueue::giveUp() {
    auto lost = static_cast<size_t>(std::count_if(
        marks.begin(), marks.end(), [](const Mark& mark) { return mark.event.kind == Kind::ended; }));
    if (isSpeaking) ++lost;
    {
        const std::scoped_lock lock(mutex);
        if (generation == heardGeneration) {
            lost += texts.size();
            texts.clear();
        }
    }
    post(std::vector<SpeechEvent>(lost, {Kind::ended}));
    forget();
}

void SpeechQueue::post(const std::vector<SpeechEvent>& told) {
    if (told.empty()) return;
    {
        const std::scoped_lock lock(mutex);
        if (generation != heardGeneration) return;
        const bool isAwaited = !events.empty();
        events.insert(events.end(), told.begin(), told.end());
        if (isAwaited) return;
    }
    guarded(onEvents);
}

bool SpeechQueue::isPurged() {
    const std::scoped_lock lock(mutex);
    return generation != heardGeneration;
}
