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

/// Speaks queued texts one after another on a thread of its own, and tells of them as they are heard.
///
/// Threads: any, but for `open`, which comes first; `onEvents` is called on the queue's thread.
class SpeechQueue {
public:
    explicit SpeechQueue(std::function<void()> onEvents) : onEvents(std::move(onEvents)) {}
    ~SpeechQueue();
    SpeechQueue(const SpeechQueue&) = delete;
    SpeechQueue& operator=(const SpeechQueue&) = delete;

    /// Finds the voices, and starts. False when there is none, or the process has no more files to open.
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
    /// What is to be told when the sample at this place is heard.
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
    std::thread worker;

    std::mutex mutex;
    // Guarded by `mutex`.
    std::deque<Text> texts;
    std::deque<SpeechEvent> events;
    uint64_t generation = 0;  ///< grows with each purge; what is left of an older one isn't told
    bool isEnding = false;

    // The worker's, from `open` on; but `wake` and the voices.
    EspeakSpeech speech;
    std::unique_ptr<PulsePlayback> playback;
    std::vector<int16_t> ahead;    ///< synthesised, and not yet wanted by the server
    std::deque<Mark> marks;        ///< in the order of their positions
    uint64_t written = 0;          ///< samples given to the server
    uint64_t heardGeneration = 0;  ///< that of `ahead` and `marks`
    bool isSpeaking = false;       ///< a text is being synthesised, and neither purged nor given up
};
