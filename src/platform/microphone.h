#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// A device that sound can be recorded from.
struct MicrophoneDevice {
    std::string id;    ///< by which the system knows it
    std::string name;  ///< by which its user does
};

/// The microphones, in the system's order; what another program plays isn't one. Empty without a sound
/// system, when it doesn't answer within `limitMs`, and within 50 ms after `cancel` (may be null) has turned
/// true. Threads: any; blocks that long at most.
std::vector<MicrophoneDevice> listMicrophones(int32_t limitMs, const std::atomic<bool>* cancel);

/// How it stands with a microphone.
enum class MicrophoneState {
    running,
    notFound,     ///< there is no sound system, or no such device, or not any more
    unusable,     ///< it is there and can't be used, or it fell silent without a word
    interrupted,  ///< what was waited for was called off
};

/// One microphone, heard as 16-bit samples of one channel at 16,000 a second, whatever the device has.
///
/// Threads: one, but for `interrupt`. No call waits longer than it says, also when the sound system hangs.
class Microphone {
public:
    Microphone();
    ~Microphone();  ///< closes it
    Microphone(const Microphone&) = delete;
    Microphone& operator=(const Microphone&) = delete;

    /// Opens the device with this id, or the one that the system prefers when `id` is empty, and starts to
    /// record; first lets go of one that is open. Waits 3 seconds at most. A chosen device is stayed with;
    /// with the preferred one the user may move us to another while it runs. What another program plays is
    /// never found, also when the system prefers it for want of a microphone.
    [[nodiscard]] MicrophoneState open(const std::string& id);

    /// Puts the next 100 ms, 1600 samples, into `samples`; they come in the order in which they were recorded
    /// and what the device lost in between, or while the system had it sleep, counts as silence. Waits up to
    /// `waitMs` for them: with `running` and no samples there weren't any yet. An open microphone that has
    /// brought nothing at all for 1.5 seconds, or for 3 since it was opened, is unusable. What can't go on is
    /// let go of; with none open this tells again what became of the last.
    [[nodiscard]] MicrophoneState read(std::vector<int16_t>& samples, int32_t waitMs);

    /// The system's number for what went wrong, behind a state of `notFound` or `unusable`.
    [[nodiscard]] uint32_t errorCode() const;

    /// Lets go of the device, and forgets an interruption that nothing waited for. Waits for nothing. Safe
    /// with none open.
    void close();

    /// Calls off the `open` or `read` that waits, or the next one when none does. From any thread.
    void interrupt();

private:
    struct Parts;
    std::unique_ptr<Parts> parts;
};
