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
#include "hearing/LevelMeter.h"
#include "hearing/UtteranceCutter.h"
#include "platform/microphone.h"
#include "platform/wake_recognizer.h"

/// Listens to the microphone: follows how loud the room is, spots the name, and cuts out the sentence that
/// comes with it. Transcribing the sentence is left to others, on threads of their own.
///
/// Sound is 16-bit samples of one channel at 16,000 a second, and all durations are counted in samples, in
/// whole milliseconds.
///
/// Threads: any for the operations, one at a time except for `stop`; any for the atomic fields. The callbacks
/// are set before the first `start` and run on the capture thread, which must not wait; an exception in one
/// of them ends the thread with a line in the log. All other fields belong to the capture thread while it
/// runs.
class Ears {
public:
    Ears() = default;
    ~Ears() { shutdown(); }
    Ears(const Ears&) = delete;
    Ears& operator=(const Ears&) = delete;

    std::function<void()> onWake;  ///< the name was heard, and a capture has begun
    /// A capture has ended. `samples` is empty when there was nothing worth recognising. `followUp` tells
    /// that the capture was requested, not begun by the name.
    std::function<void(std::vector<int16_t> samples, bool followUp)> onUtterance;
    std::function<void(const std::string& sentence)> onProblem;         ///< a sentence for the user
    std::function<void(const int16_t* samples, size_t count)> onAudio;  ///< everything the microphone brings

    /// Returns the names of the microphones, in the system's order. Blocks for half a second at most.
    static std::vector<std::string> listDevices();

    /// Chooses the microphone for the next `start`: the first whose name contains `name`. When there is none,
    /// or `name` is empty, the one that the system prefers is used.
    void setDevice(const std::string& name) { deviceName.set(name); }

    /// Starts to listen; does nothing while `running`. Returns true. A failure is reported to `onProblem`
    /// later, and `running` becomes false.
    bool start();

    /// Stops listening and discards the present capture. Blocks until the chunk at hand is done. The model
    /// stays loaded.
    void stop();

    /// Stops listening and frees the model.
    void shutdown();

    /// Loads the wake-word model from the folder `path`. Returns false when it can't be used. Must not be
    /// called while `running`.
    [[nodiscard]] bool loadWakeModel(const std::string& path);

    /// Handles the next `count` samples of the stream. Called by the capture thread; also by whoever plays a
    /// recording to ears that aren't started.
    void processChunk(const int16_t* samples, size_t count);

    std::atomic<bool> running = false;            ///< from `start` until the capture thread ends
    std::atomic<bool> stopRequested = false;      ///< asks the capture thread to end
    std::atomic<bool> muted = false;              ///< deaf, because the companion would hear itself
    std::atomic<bool> followUpRequested = false;  ///< the next chunk begins a capture, without the name
    std::atomic<bool> capturing = false;          ///< an utterance is being captured

private:
    void capture();
    void readMicrophone();
    [[nodiscard]] bool openMicrophone();
    void reportMicrophone(MicrophoneState state);
    void followRoom(float rms);
    [[nodiscard]] bool spotWakeWord(const int16_t* samples, size_t count);
    void beginFollowUp();
    void beginWakeCapture();
    void endCapture();
    void forgetSound();

    SharedText deviceName;
    Microphone microphone;
    WakeRecognizer recognizer;
    LevelMeter meter;
    UtteranceCutter cutter;
    float noiseFloor = 250;        ///< loudness of the room without speech
    int32_t quietMs = 100000;      ///< since the last loud chunk; nothing counts as speech before the first
    std::deque<float> rmsHistory;  ///< loudness of the newest chunks that weren't muted

    std::mutex lifecycle;       ///< held by `start` and `stop`
    std::thread captureThread;  ///< guarded by `lifecycle`; last, because it uses all of the above
};
