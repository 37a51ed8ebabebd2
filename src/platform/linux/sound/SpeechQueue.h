#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/linux/sound/EspeakSpeech.h"
#include "platform/linux/sound/PulsePlayback.h"
#include "platform/synthesizer.h"

/// Speaks queued texts one after another on a thread of its own, and queues events as they are heard. An
/// exception on that thread ends the queued texts with a line of debug output.
///
/// Threads: any, but `open` comes first; `onEvents` is called on the queue's thread.
class SpeechQueue {
public:
    explicit SpeechQueue(std::function<void()> onEvents) : onEvents(std::move(onEvents)) {}
    ~SpeechQueue();
    SpeechQueue(const SpeechQueue&) = delete;
    SpeechQueue& operator=(const SpeechQueue&) = delete;

    /// Finds the voices and starts the thread. Returns false without a voice, or when the process can open no
    /// more files.
    [[nodiscard]] bool open();

    [[nodiscard]] const std::vector<EspeakSpeech::Voice>& voices() const { return speech.voices; }

    void add(std::string text, std::string voice);
    void purge();
    std::optional<SpeechEvent> nextEvent();

private:
    struct Text {
        std::string words;
        std::string voice;
    };
    /// An event that is due when the sample at `position` is heard.
    struct Mark {
        uint64_t position = 0;
        SpeechEvent event;
    };
    enum class Synthesis { idle, running };

    void work();
    std::optional<Text> nextText();
    void speak(const Text& text);
    void step(Synthesis synthesis, std::chrono::microseconds longestWait);
    void feed(Synthesis synthesis);
    void tell();
    void forget();
    void giveUp();
    void post(const std::vector<SpeechEvent>& told);
    [[nodiscard]] bool isPurged();

    const std::function<void()> onEvents;

    std::mutex mutex;
    // Guarded by `mutex`.
    std::deque<Text> texts;
    std::deque<SpeechEvent> events;
    uint64_t generation = 0;  ///< grows with each purge; events of an older one are dropped
    bool isEnding = false;

    // Used by the worker only, from `open` on, except `wake` and the voices.
    EspeakSpeech speech;
    std::unique_ptr<PulsePlayback> playback;
    std::vector<int16_t> ahead;    ///< synthesised, and not yet wanted by the server
    std::deque<Mark> marks;        ///< in the order of their positions
    uint64_t written = 0;          ///< samples given to the server
    uint64_t heardGeneration = 0;  ///< that of `ahead` and `marks`
    bool isSpeaking = false;       ///< a text is being synthesised, and neither purged nor given up

    std::thread worker;  ///< last, because it uses all of the above
};
