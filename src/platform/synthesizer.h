#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// An event of a queued text, reported when the user hears it.
struct SpeechEvent {
    enum class Kind {
        started,  ///< the text's first sample; never for a text with nothing to say
        viseme,   ///< the mouth changes its shape
        ended,    ///< exactly once for each text that isn't purged, even if it can't be spoken
    };
    Kind kind{};
    int32_t viseme = 0;  ///< 0, the closed mouth of silence, to 21
};

/// Speaks texts aloud, one after another, on the user's default sound output. No call waits for sound.
///
/// Without a sound output, or when it disappears, all queued texts end within a second, unheard; the next
/// text tries the output again. An output that exists has three seconds to start.
///
/// Threads: one for all calls; `onEvents` is called on a thread of the synthesizer. A process has at most one
/// at a time.
class Synthesizer {
public:
    /// Returns a synthesizer; null when there is no voice, or the process can open no more files. No sound
    /// output is needed yet. `onEvents` is called when there are events to fetch after there were none; an
    /// exception that it throws is written to the debug output. Blocks for milliseconds.
    static std::unique_ptr<Synthesizer> open(std::function<void()> onEvents);
    ~Synthesizer();  ///< silences it at once; `onEvents` isn't called any more
    Synthesizer(const Synthesizer&) = delete;
    Synthesizer& operator=(const Synthesizer&) = delete;

    /// Returns the descriptions of the installed voices; their order doesn't change.
    [[nodiscard]] const std::vector<std::string>& voices() const;

    /// Sets the voice of the texts queued from now on: an index in `voices`, or nothing for the default
    /// voice.
    void useVoice(std::optional<size_t> voice);

    /// Queues a UTF-8 text. Nothing in it is markup. When this throws, the text isn't queued.
    void queue(std::string text);

    /// Silences the present text and drops the queued ones, with all of their events.
    void purge();

    /// Returns the next event; nothing when all are fetched.
    std::optional<SpeechEvent> nextEvent();

private:
    struct Parts;
    explicit Synthesizer(std::unique_ptr<Parts> parts);
    std::unique_ptr<Parts> parts;
};
