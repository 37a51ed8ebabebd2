#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/synthesizer.h"

/// Speaks the companion's replies, and keeps what the rest must know of that: how much is still to be heard
/// and how far the mouth is open. Without a voice it does nothing, and so neither talks nor mutes.
///
/// Threads: window thread only.
class VoiceOut {
public:
    std::unique_ptr<Synthesizer> voice;  ///< null when unavailable
    int32_t pending = 0;                 ///< texts spoken whose sound hasn't ended
    float mouthOpen = 0;                 ///< opening of the jaw, 0 to 1
    uint64_t startedTick = 0;            ///< `tickCount` when a text was last begun to be heard; 0: never

    /// Makes a new voice in place of any earlier one. False when there is none to be had; a sound output may
    /// come later. `onEvents` is called on another thread when `pumpEvents` has something to do.
    [[nodiscard]] bool init(std::function<void()> onEvents);

    /// Speaks from now on with the voice that `pickVoice` finds, or with the default voice.
    void chooseVoice(const std::string& name);

    /// Descriptions of all installed voices, without empty ones.
    [[nodiscard]] std::vector<std::string> listVoices() const;

    /// Queues the text without its markdown signs.
    void speak(const std::string& text);

    /// Ends all speech at once.
    void stop();

    void pumpEvents();
};
