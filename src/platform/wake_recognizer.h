#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// What the recogniser understood of a stretch of speech.
struct WakeResult {
    std::string text;      ///< phrases of the grammar, with single blanks between the words; may be empty
    bool isFinal = false;  ///< the stretch has ended; otherwise the text may still change
};

/// Spots a few phrases in a stream of speech.
///
/// Threads: one at a time.
class WakeRecognizer {
public:
    WakeRecognizer();
    ~WakeRecognizer();
    WakeRecognizer(const WakeRecognizer&) = delete;
    WakeRecognizer& operator=(const WakeRecognizer&) = delete;

    /// Loads the acoustic model in `folder`, in place of one loaded before. Returns false when there is none
    /// that can be used. Blocks for up to a second.
    [[nodiscard]] bool loadModel(const std::string& folder);

    /// Makes a recogniser of the loaded model that tells `phrases` apart; "[unk]" stands for all other
    /// speech. Returns false on failure; there is no recogniser then. Blocks for up to a second.
    [[nodiscard]] bool createRecognizer(float sampleRate, const std::vector<std::string>& phrases);

    /// Returns whether there is a recogniser.
    [[nodiscard]] bool isReady() const;

    /// Takes the next `count` samples of the stream, 16 bits, one channel, and returns what the present
    /// stretch of speech is taken for so far, or finally. Without a recogniser the result is empty and not
    /// final. Blocks for as long as recognising takes, a fraction of the samples' own time.
    [[nodiscard]] WakeResult accept(const int16_t* samples, int32_t count);

    /// Forgets the stream: what comes next is its beginning. Does nothing without a recogniser.
    void reset();

    /// Frees recogniser and model.
    void free();

private:
    struct Parts;
    std::unique_ptr<Parts> parts;
};
