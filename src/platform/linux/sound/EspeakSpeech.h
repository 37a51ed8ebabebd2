#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

/// Turns text into samples and mouth shapes, much faster than they are heard.
///
/// Threads: one at a time, for all objects together, because espeak-ng has one state for the process.
class EspeakSpeech {
public:
    struct Voice {
        std::string description;
        std::string id;
    };

    struct Shape {
        uint64_t sample = 0;  ///< counted from the text's first
        int32_t viseme = 0;
    };

    /// Takes the next stretch of a text, up to 50 ms, with the shapes that begin in it. Returns false to end
    /// the text early.
    using Take = std::function<bool(std::span<const int16_t> samples, const std::vector<Shape>& shapes)>;

    /// Finds the voices, without a sound server. Returns false when there is none.
    [[nodiscard]] bool open();

    std::vector<Voice> voices;  ///< in the library's order; constant after `open`
    uint32_t sampleRate = 0;    ///< of the samples, all mono; constant after `open`

    /// The voice to use while the user has chosen none.
    static const std::string defaultVoice;

    /// Synthesises `text`, which is UTF-8, and calls `take` for each stretch; a text may have none. Keeps the
    /// last voice when `voice` doesn't exist. Blocks until the text ends; rethrows what `take` throws.
    void speak(std::string text, const std::string& voice, const Take& take);

private:
    bool setVoice(const std::string& voice);

    std::string speaking;  ///< id of the voice that is set
};
