#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/synthesizer.h"

/// Speaks the companion's replies. It counts the texts whose sound hasn't ended and knows how far the mouth
/// is open. Without a voice it does nothing.
///
/// Threads: window thread only.
class VoiceOut {
public:
    std::unique_ptr<Synthesizer> voice;  ///< null when unavailable
    int32_t pending = 0;                 ///< queued texts whose sound hasn't ended
    float mouthOpen = 0;                 ///< opening of the jaw, 0 to 1
    uint64_t startedTick = 0;            ///< `tickCount` when the sound of a text last began; 0: never

    /// Opens a voice, in place of an earlier one. Returns false when there is none. A sound output may appear
    /// later. `onEvents` is called on another thread when `pumpEvents` has something to do.
    [[nodiscard]] bool init(std::function<void()> onEvents);

    /// Uses the voice that `pickVoice` finds, else the default voice, from now on.
    void chooseVoice(const std::string& name);

    /// Returns the descriptions of all installed voices, without empty ones.
    [[nodiscard]] std::vector<std::string> listVoices() const;

    /// Queues the text without its markdown signs.
    void speak(const std::string& text);

    /// Stops all speech at once.
    void stop();

    void pumpEvents();
};
