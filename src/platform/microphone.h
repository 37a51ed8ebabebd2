#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// A device that records sound.
struct MicrophoneDevice {
    std::string id;    ///< the system's name for it
    std::string name;  ///< the user's name for it
};

/// Returns the microphones in the system's order, without devices that record what other programs play.
/// Returns nothing without a sound system, when it doesn't answer within `limitMs`, or, within 50 ms, when
/// `cancel` (may be null) turns true. Threads: any; blocks for `limitMs` at most.
std::vector<MicrophoneDevice> listMicrophones(int32_t limitMs, const std::atomic<bool>* cancel);

/// The state of a microphone.
enum class MicrophoneState {
    running,
    notFound,     ///< there is no sound system or no such device, or it was removed
    unusable,     ///< the device exists but can't be used, or it stopped delivering sound
    interrupted,  ///< the call was interrupted
};

/// One microphone at a time, as 16-bit samples of one channel at 16,000 a second, whatever the device's own
/// format.
///
/// Threads: one, except for `interrupt`. No call blocks longer than stated here, even when the sound system
/// hangs.
class Microphone {
public:
    Microphone();
    ~Microphone();  ///< closes it
    Microphone(const Microphone&) = delete;
    Microphone& operator=(const Microphone&) = delete;

    /// Closes the open device, if any, then opens the device `id` and starts to record; an empty `id` means
    /// the one that the system prefers. The user may later switch us from the preferred device to another,
    /// but never from a chosen one. A device that records what other programs play is `notFound`, even if the
    /// system prefers it. Blocks for at most 3 seconds.
    [[nodiscard]] MicrophoneState open(const std::string& id);

    /// Puts the next 100 ms, 1600 samples, into `samples`, in the order of recording; gaps and times in which
    /// the system suspends the device count as silence. Blocks for at most `waitMs`; returns `running`
    /// without samples when there are not enough yet. A microphone that delivers nothing for 1.5 seconds, or
    /// for 3 after `open`, is `unusable`. On a failure the microphone is closed; a closed one returns its
    /// last state again.
    [[nodiscard]] MicrophoneState read(std::vector<int16_t>& samples, int32_t waitMs);

    /// Returns the system's number for the last failure, after `notFound` or `unusable`.
    [[nodiscard]] uint32_t errorCode() const;

    /// Closes the device, if one is open, and drops an interruption that is still pending. Doesn't block.
    void close();

    /// Ends the `open` or `read` that blocks, or else the next one, with `interrupted`. Threads: any.
    void interrupt();

private:
    struct Parts;
    std::unique_ptr<Parts> parts;
};
