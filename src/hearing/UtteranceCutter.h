#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

/// Cuts one utterance after another out of the stream, by loudness alone. Between captures it keeps the
/// newest 1.5 seconds as the pre-roll, because the name is recognised only after it was said.
///
/// Threads: one at a time.
class UtteranceCutter {
public:
    /// Adds samples that belong to no capture to the pre-roll.
    void keepPreRoll(const int16_t* samples, size_t count);

    /// Begins a capture with the pre-roll: the name was heard.
    void beginWithPreRoll();

    /// Begins a capture without the pre-roll, and without speech so far: an answer is expected.
    void beginFollowUp();

    /// Adds samples to the capture that has begun. Returns true when they end it: after 850 ms of quiet, at
    /// 14 seconds, or after 6 seconds of a follow-up in which nobody speaks.
    [[nodiscard]] bool extend(const int16_t* samples, size_t count, bool isLoud);

    /// Ends the capture and returns its samples, or none when they are not worth recognising. Forgets the
    /// rest.
    [[nodiscard]] std::vector<int16_t> finish();

    /// Returns whether the present or last capture is a follow-up.
    [[nodiscard]] bool isFollowUp() const { return followUp; }

    /// Forgets the capture and the pre-roll.
    void forget();

private:
    [[nodiscard]] bool givesUp() const;

    std::deque<int16_t> preRoll;
    std::vector<int16_t> utterance;
    bool followUp = false;
    int32_t voicedMs = 0;        ///< duration that counts as speech
    int32_t silenceMs = 0;       ///< since the last loud chunk
    int32_t totalMs = 0;         ///< duration of the capture
    bool speechStarted = false;  ///< something in the capture was loud
};
