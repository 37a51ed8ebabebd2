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
    /// What it decodes: an endless stream, in which it finds where speech begins and ends, or one stretch of
    /// speech.
    enum class Purpose { stream, stretch };

    /// A word or filler of the present hypothesis, with its first and last frame since the beginning of the
    /// stretch.
    struct Word {
        std::string text;
        int32_t first = 0;
        int32_t last = 0;

        /// Returns whether it is an edge of the stretch, silence or noise.
        [[nodiscard]] bool isFiller() const { return text.starts_with('<') || text.starts_with('['); }
    };

    static constexpr int32_t framesPerSecond = 100;

    SphinxDecoder() = default;
    ~SphinxDecoder();
    SphinxDecoder(const SphinxDecoder&) = delete;
    SphinxDecoder& operator=(const SphinxDecoder&) = delete;

    /// Loads the model from the folder: "wake.dict" with "wake.lm" for a stream, "look.dict" with "named.lm"
    /// and "nameless.lm" for a stretch. May be called once. Returns false when a file can't be used.
    [[nodiscard]] bool open(const std::string& folder, float sampleRate, Purpose purpose);

    // Everything below needs an open decoder.

    /// Sets whether the next stretch may contain the name; at first it may. For a decoder of stretches.
    void expectName(bool isExpected);

    void begin();
    void take(std::span<const int16_t> samples);
    void end();

    [[nodiscard]] bool isInSpeech() const;
    [[nodiscard]] int32_t frameCount() const;

    [[nodiscard]] std::vector<Word> hypothesis() const;

    /// Returns how well the hypothesis fits, in the library's logarithmic unit; nothing without a hypothesis.
    [[nodiscard]] std::optional<int32_t> score() const;

    /// Copies what `other` has learnt about voice and microphone, which takes a decoder seconds.
    void adaptLike(const SphinxDecoder& other);

private:
    ps_decoder_t* decoder = nullptr;
};
