#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

/// Turns text into samples and mouth shapes, much faster than they are heard.
///
/// Threads: one at a time, for all objects together: the library under it has one state for the process.
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

    /// Takes the next stretch of a text, up to a twentieth of a second, with the shapes that begin in it.
    /// False ends the text.
    using Take = std::function<bool(std::span<const int16_t> samples, const std::vector<Shape>& shapes)>;

    /// Finds the voices, for which no sound server is asked. False when there is none to speak with.
    [[nodiscard]] bool open();

    std::vector<Voice> voices;  ///< in the library's order; constant after `open`
    uint32_t sampleRate = 0;    ///< of the samples, all mono; constant after `open`

    /// The voice that speaks while none is chosen.
    static const std::string defaultVoice;

    /// Hands over the whole text, which is UTF-8, before it returns. Texts may have nothing to say, and so no
    /// samples. A `voice` that isn't there leaves the last one speaking.
    void speak(std::string text, const std::string& voice, const Take& take);

private:
    bool setVoice(const std::string& voice);

    std::string speaking;  ///< id of the voice that is set
};
