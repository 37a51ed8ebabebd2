#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// What is told of a queued text at the moment when the user hears it.
struct SpeechEvent {
    enum class Kind {
        started,  ///< the text's first sample; never comes for a text with nothing to say
        viseme,   ///< the mouth takes another shape
        ended,    ///< exactly once for each text that isn't purged, also when it can't be spoken
    };
    Kind kind{};
    int32_t viseme = 0;  ///< 0, the closed mouth of silence, to 21
};

/// Speaks texts aloud, one after another, on the user's default sound output. No call waits for sound.
///
/// Without a sound output, and when it goes away while it speaks, all queued texts end within a second,
/// unheard; the next text is spoken again when there is one by then. An output that is there has three
/// seconds to begin.
///
/// Threads: one for all calls, the events' too; `onEvents` is called on a thread of its own. A process has at
/// most one at a time.
class Synthesizer {
public:
    /// `onEvents` is called whenever there are events to be fetched where there were none. Null when there is
    /// no voice, or the process has no more files to open; a sound output isn't needed yet. Blocks for
    /// milliseconds.
    static std::unique_ptr<Synthesizer> open(std::function<void()> onEvents);
    ~Synthesizer();  ///< silent at once; `onEvents` isn't called any more
    Synthesizer(const Synthesizer&) = delete;
    Synthesizer& operator=(const Synthesizer&) = delete;

    /// Descriptions of the installed voices, in an order that stays.
    [[nodiscard]] const std::vector<std::string>& voices() const;

    /// The voice of the texts queued from now on, by its place in `voices`; nothing: the default voice.
    void useVoice(std::optional<size_t> voice);

    /// Queues UTF-8 to be spoken as it stands; nothing in it is markup. On an exception it isn't queued.
    void queue(std::string text);

    /// Silences what is spoken and forgets what is queued, with all events of both.
    void purge();

    /// The next event; nothing when all are fetched.
    std::optional<SpeechEvent> nextEvent();

private:
    struct Parts;
    explicit Synthesizer(std::unique_ptr<Parts> parts);
    std::unique_ptr<Parts> parts;
};
