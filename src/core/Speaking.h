#pragma once

#include <cstddef>
#include <cstdint>

/// How long the companion counts as speaking when its replies aren't spoken aloud, and how long the
/// microphone stays shut. All times are of `tickCount`.
///
/// Threads: one at a time.
class Speaking {
public:
    uint64_t silentSpeechUntil = 0;  ///< until then a text that isn't spoken aloud counts as being said
    uint64_t muteUntil = 0;          ///< the microphone counts as muted until then

    /// Starts to say a text of `bytes` without a voice, in place of what was being said.
    void saySilently(size_t bytes, uint64_t now);

    /// Does the same behind what is still being said.
    void appendSilently(size_t bytes, uint64_t now);

    /// Returns whether anything is being said; `pending` texts of the voice are still to be heard.
    [[nodiscard]] bool isSpeaking(int32_t pending, uint64_t now) const;

    /// Keeps the microphone shut while something is said and a little longer. Call it once a frame and with
    /// each text.
    void updateMute(int32_t pending, uint64_t now);
    [[nodiscard]] bool isMuted(uint64_t now) const { return now < muteUntil; }
};
