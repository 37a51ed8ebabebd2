#pragma once

#include <cstdint>
#include <memory>
#include <string>

/// A recogniser made by PocketSphinx. It hears whole English sentences with the name among the words, and
/// tells of the name alone.
///
/// Threads: one at a time.
class SphinxRecognizer {
public:
    SphinxRecognizer();
    ~SphinxRecognizer();
    SphinxRecognizer(const SphinxRecognizer&) = delete;
    SphinxRecognizer& operator=(const SphinxRecognizer&) = delete;

    /// False when a file of the model is missing; whether they are any good shows when the recogniser is
    /// made.
    [[nodiscard]] bool loadModel(const std::string& folder);

    /// As WakeRecognizer's. Only the single words of the grammar that the model's dictionary knows are told
    /// of.
    [[nodiscard]] bool createRecognizer(float sampleRate, const std::string& grammar);

    [[nodiscard]] bool isReady() const;

    // As WakeRecognizer's; only with a recogniser.
    bool accept(const int16_t* samples, int32_t count);
    [[nodiscard]] std::string result() const;
    [[nodiscard]] std::string partialResult() const;
    void reset();

private:
    struct Parts;
    std::unique_ptr<Parts> parts;
};
