#pragma once

#include <pocketsphinx.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>

/// One decoder of PocketSphinx with the wake word's model.
///
/// Threads: one at a time.
class SphinxDecoder {
public:
    /// How it is used: all the time, finding where speech begins and ends, or for one stretch of known
    /// speech.
    enum class Purpose { stream, stretch };

    /// A word of the present hypothesis, with its first and last frame counted from the stretch's beginning.
    struct Word {
        std::string text;
        int32_t first = 0;
        int32_t last = 0;
    };

    static constexpr int32_t framesPerSecond = 100;

    SphinxDecoder() = default;
    ~SphinxDecoder();
    SphinxDecoder(const SphinxDecoder&) = delete;
    SphinxDecoder& operator=(const SphinxDecoder&) = delete;

    /// Loads the model's files from the folder, with this one of its language models. Once. False when one of
    /// them can't be used.
    [[nodiscard]] bool open(const std::string& folder, const std::string& languageModel, float sampleRate,
                            Purpose purpose);

    // The rest only when it is open.

    void begin();
    void take(std::span<const int16_t> samples);
    void end();

    [[nodiscard]] bool isInSpeech() const;
    [[nodiscard]] int32_t frameCount() const;

    /// The last word of the present hypothesis for which `wanted` holds.
    template <typename Wanted>
    [[nodiscard]] std::optional<Word> lastWord(Wanted wanted) const;

    /// Expects the other's voice and microphone: what a decoder learns of them takes it seconds.
    void adaptLike(const SphinxDecoder& other);

private:
    ps_decoder_t* decoder = nullptr;
};

template <typename Wanted>
std::optional<SphinxDecoder::Word> SphinxDecoder::lastWord(Wanted wanted) const {
    std::optional<Word> found;
    std::optional<int> begin;  // the library counts from the beginning of the stream
    for (ps_seg_t* segment = ps_seg_iter(decoder); segment != nullptr; segment = ps_seg_next(segment)) {
        int first = 0;
        int last = 0;
        ps_seg_frames(segment, &first, &last);
        if (!begin) begin = first;
        const std::string text = ps_seg_word(segment);
        // A word with several ways to say it has their number behind it, in brackets.
        std::string word = text.substr(0, text.find('('));
        if (wanted(word)) found = Word{std::move(word), first - *begin, last - *begin};
    }
    return found;
}
