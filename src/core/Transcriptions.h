#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <mutex>
#include <thread>
#include <vector>

#include "core/MessageQueue.h"
#include "hearing/Ears.h"
#include "hearing/SpeechEngine.h"

/// Turns what the ears capture into text, each utterance on a thread of its own, and posts the text to the
/// window thread.
///
/// Threads: `listen`, `forget`, `isCurrent`, `reap`, `end` and `join` belong to the window thread; the ears'
/// callbacks run on their capture thread.
class Transcriptions {
public:
    Transcriptions(SpeechEngine& theSpeech, MessageQueue& queue) : speech(theSpeech), messages(queue) {}
    ~Transcriptions() { end(), join(); }
    Transcriptions(const Transcriptions&) = delete;
    Transcriptions& operator=(const Transcriptions&) = delete;

    /// Sets the callbacks of `ears`. Call it before the ears start; the ears must stop before this object
    /// goes.
    void listen(Ears& ears);

    /// Drops what was heard until now, also what is still being transcribed.
    void forget() { ++session; }

    /// Returns whether an utterance was heard since the last `forget`.
    [[nodiscard]] bool isCurrent(const Utterance& utterance) const { return utterance.session == session; }

    /// Releases the threads of transcriptions that are done.
    void reap();

    /// Cancels the running transcriptions and all later ones.
    void end() { quit = true; }

    /// Blocks until all transcriptions have ended. Call it after the ears have stopped.
    void join();

private:
    /// One utterance on its way to a text.
    struct Transcription {
        std::atomic<bool> isDone = false;
        std::thread thread;
    };

    void onUtterance(std::vector<int16_t> samples, bool isFollowUp);
    void transcribe(const std::vector<int16_t>& samples, Utterance utterance);

    SpeechEngine& speech;
    MessageQueue& messages;
    std::atomic<bool> quit = false;
    std::atomic<uint64_t> session = 1;
    uint64_t wakeTick = 0;  ///< of the newest wake; capture thread only
    std::mutex transcribeMutex;
    std::list<Transcription> transcribeThreads;  ///< guarded by `transcribeMutex`
};
