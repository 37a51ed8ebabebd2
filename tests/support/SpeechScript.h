#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// How the stand-in for the speech engine behaves. As JSON, everything may be left out:
///
///     {"default": " words", "tones": {"400": " words"}, "delayMs": 0, "status": 200, "body": "raw answer",
///      "readyAfterMs": 0, "neverReady": false, "exitAtStart": false, "exitAtInference": false}
///
/// Beside itself the program leaves
/// - "last-command.json": the arguments it was last started with, as an array, without its own name;
/// - "requests.jsonl": of each request the form's fields, the seconds of audio and their level, one a line:
///   {"fields": {"temperature": "0.0"}, "seconds": 1.0, "rms": 2000.0}.
struct SpeechScript {
    std::map<int32_t, std::string> tones;  ///< what is heard in a tone of so many hertz
    std::string otherwise;                 ///< what is heard in anything else
    int32_t delayMs = 0;                   ///< before each answer
    int32_t status = 200;                  ///< of the answers
    std::optional<std::string> body;       ///< in place of the answers
    int32_t readyAfterMs = 0;
    bool neverReady = false;
    bool exitAtStart = false;
    bool exitAtInference = false;

    SpeechScript();  ///< the demo: every text tells that nothing was understood, or belongs to a tone

    /// Reads a script over what is there. False, with the reason in `error`, when it isn't one; keys that
    /// mean nothing count as wrong.
    [[nodiscard]] bool read(const std::string& json, std::string& error);

    /// What is heard in this recording of 16 kHz: the text of the first known tone that lasts 0.3 s.
    std::string textFor(const std::vector<int16_t>& samples) const;
};
