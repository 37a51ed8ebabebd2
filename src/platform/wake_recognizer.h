#pragma once

#include <cstdint>
#include <memory>
#include <string>

/// Spots a few words in a stream of speech, and understands nothing else.
///
/// Threads: one at a time.
class WakeRecognizer {
public:
    WakeRecognizer();
    ~WakeRecognizer();
    WakeRecognizer(const WakeRecognizer&) = delete;
    WakeRecognizer& operator=(const WakeRecognizer&) = delete;

    /// Loads the acoustic model that lies in the folder, in place of one loaded before. Blocks for up to a
    /// second. False when there is none that can be used.
    [[nodiscard]] bool loadModel(const std::string& folder);

    /// Makes the recogniser, with the model loaded before. `grammar` is a JSON array of the phrases to be
    /// told apart, "[unk]" standing for all other speech.
    [[nodiscard]] bool createRecognizer(float sampleRate, const std::string& grammar);

    /// Whether there is a recogniser.
    [[nodiscard]] bool isReady() const;

    /// Takes the next samples of the stream: 16 bits, one channel. True when a stretch of speech has ended,
    /// whose `result` is final. Without a recogniser nothing happens, here and below.
    bool accept(const int16_t* samples, int32_t count);

    /// What the stretch that has ended was taken for: a JSON object with the words under "text".
    [[nodiscard]] std::string result();

    /// What the present stretch is taken for so far: a JSON object with the words under "partial".
    [[nodiscard]] std::string partialResult();

    /// Forgets the stream: what comes next is its beginning.
    void reset();

    /// Frees recogniser and model.
    void free();

private:
    struct Parts;
    std::unique_ptr<Parts> parts;
};
