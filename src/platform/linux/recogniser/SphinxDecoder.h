#pragma once

#include <pocketsphinx.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// One decoder of PocketSphinx with the wake word's model.
///
/// Threads: one at a time.
class SphinxDecoder {
public:
    /// How it is used: all the time, finding where speech begins and ends, or for one stretch of known
    /// speech.
    enum class Purpose { stream, stretch };

    /// A word of the present hypothesis, or a filler, with its first and last frame counted from the
    /// stretch's beginning.
    struct Word {
        std::string text;
        int32_t first = 0;
        int32_t last = 0;

        /// The stretch's edges, silence and noise.
        [[nodiscard]] bool isFiller() const { return text.starts_with('<') || text.starts_with('['); }
    };

    static constexpr int32_t framesPerSecond = 100;

    SphinxDecoder() = default;
    ~SphinxDecoder();
    SphinxDecoder(const SphinxDecoder&) = delete;
    SphinxDecoder& operator=(const SphinxDecoder&) = delete;

    /// Loads the model's files from the folder: "wake.dict" with "wake.lm" for a stream, "look.dict" with
    /// "named.lm" and "nameless.lm" for a stretch. Once. False when one of them can't be used.
    [[nodiscard]] bool open(const std::string& folder, float sampleRate, Purpose purpose);

    // The rest only when it is open.

    /// Of a decoder for stretches: whether the next one may have the name in it. At first it may.
    void expectName(bool isExpected);

    void begin();
    void take(std::span<const int16_t> samples);
    void end();

    [[nodiscard]] bool isInSpeech() const;
    [[nodiscard]] int32_t frameCount() const;

    [[nodiscard]] std::vector<Word> hypothesis() const;

    /// How well the hypothesis fits, in the library's logarithmic unit; nothing when there is none.
    [[nodiscard]] std::optional<int32_t> score() const;

    /// Expects the other's voice and microphone: what a decoder learns of them takes it seconds.
    void adaptLike(const SphinxDecoder& other);

private:
    ps_decoder_t* decoder = nullptr;
};
