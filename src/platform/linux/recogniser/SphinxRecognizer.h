#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/wake_recognizer.h"

/// Spots the name with PocketSphinx, which hears whole English sentences with the name among the words.
///
/// Threads: one at a time.
class SphinxRecognizer {
public:
    SphinxRecognizer();
    ~SphinxRecognizer();
    SphinxRecognizer(const SphinxRecognizer&) = delete;
    SphinxRecognizer& operator=(const SphinxRecognizer&) = delete;

    /// Returns false when a file of the model is missing or empty. Broken files are noticed by
    /// `createRecognizer`.
    [[nodiscard]] bool loadModel(const std::string& folder);

    /// As `WakeRecognizer`'s. Results hold "[unk]" or one of the phrases that are single words of the
    /// model's dictionary.
    [[nodiscard]] bool createRecognizer(float sampleRate, const std::vector<std::string>& phrases);

    [[nodiscard]] bool isReady() const;

    // As `WakeRecognizer`'s, once `isReady`.
    [[nodiscard]] WakeResult accept(const int16_t* samples, int32_t count);
    void reset();

private:
    struct Parts;
    std::unique_ptr<Parts> parts;
};
