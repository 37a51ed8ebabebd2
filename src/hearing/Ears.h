#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "foundation/SharedText.h"
#include "hearing/Loudness.h"
#include "platform/microphone.h"
#include "platform/wake_recognizer.h"

/// Hears what is said to the companion. It takes the microphone's stream chunk by chunk, follows how loud the
/// room is, spots the name, and cuts the sentence that comes with it out of the stream. What it says isn't
/// known here: recognising speech is for others, on threads of their own.
///
/// Sound is 16-bit samples of one channel at 16,000 a second, and all durations are counted in samples, in
/// whole milliseconds.
///
/// Threads: the operations from any, one at a time but for `stop`; the atomic fields from any; the callbacks
/// are set before the first `start` and run on the capture thread, which must not wait. All other fields are
/// the capture thread's while it lives.
class Ears {
public:
    Ears() = default;
    ~Ears() { shutdown(); }
    Ears(const Ears&) = delete;
    Ears& operator=(const Ears&) = delete;

    std::function<void()> onWake;  ///< the name was heard, and capture has begun
    /// A capture has ended. Without samples when there was nothing worth recognising in it. `followUp`: it
    /// was asked for, not begun by the name.
    std::function<void(std::vector<int16_t> samples, bool followUp)> onUtterance;
    std::function<void(const std::string& sentence)> onProblem;         ///< a sentence for the user
    std::function<void(const int16_t* samples, size_t count)> onAudio;  ///< all that is heard, as it comes

    /// The names of the microphones, in the system's order. Blocks for half a second at most.
    static std::vector<std::string> listDevices();

    /// The microphone for the next `start`: the first whose name holds this text, or the one that the system
    /// prefers when there is none or the text is empty.
    void setDevice(const std::string& name) { deviceName.set(name); }

    /// Starts to listen, unless it does. Always true: what goes wrong then is told to `onProblem`, and
    /// `running` is false again.
    bool start();

    /// Ends it; what was being captured is thrown away. Waits for the chunk that is being worked on. The
    /// model stays loaded.
    void stop();

    /// As `stop`, and frees the model.
    void shutdown();

    /// Loads the model that knows the name. False when it can't be. Not while it listens.
    [[nodiscard]] bool loadWakeModel(const std::string& path);

    /// All that is done with the next samples of the stream, of any number.
    void processChunk(const int16_t* samples, size_t count);

    std::atomic<bool> running = false;            ///< from `start` until the capture thread ends
    std::atomic<bool> stopRequested = false;      ///< the capture thread is to end
    std::atomic<bool> muted = false;              ///< deaf: what is heard is the companion itself
    std::atomic<bool> followUpRequested = false;  ///< the next chunk begins a capture, without the name
    std::atomic<bool> capturing = false;          ///< an utterance is being cut out

private:
    void capture();
    [[nodiscard]] bool openMicrophone();
    void reportMicrophone(MicrophoneState state);
    void meter(const Loudness& loudness, int32_t ms);
    void followRoom(float rms);
    [[nodiscard]] bool spotWakeWord(const int16_t* samples, size_t count);
    void beginFollowUp();
    void beginWakeCapture();
    void keepPreRoll(const int16_t* samples, size_t count);
    void extendCapture(const int16_t* samples, size_t count, int32_t ms, bool isLoud);
    void endCapture(bool giveUp);
    void forgetSound();

    SharedText deviceName;
    Microphone microphone;
    WakeRecognizer recognizer;

    std::mutex lifecycle;       ///< held by `start` and `stop`
    std::thread captureThread;  ///< guarded by `lifecycle`

    // The level meter.
    int32_t deadMs = 0;     ///< of nothing but zeros so far
    int32_t levelMs = 0;    ///< since the last line in the log
    int32_t levelPeak = 0;  ///< the highest sample since then
    bool heardSignal = false;
    bool deafWarned = false;

    // The stream.
    float noiseFloor = 250;        ///< of the room, as the loudness of a chunk
    int32_t quietMs = 100000;      ///< since the last loud chunk; nothing counts as speech before the first
    std::deque<float> rmsHistory;  ///< of the newest chunks that weren't muted
    std::deque<int16_t> preRoll;   ///< the newest sound before a capture
    std::vector<int16_t> utterance;
    bool followUp = false;       ///< the present capture was asked for
    int32_t voicedMs = 0;        ///< of the capture that count as speech
    int32_t silenceMs = 0;       ///< since its last loud chunk
    int32_t totalMs = 0;         ///< its length
    bool speechStarted = false;  ///< there was something loud in it
};
