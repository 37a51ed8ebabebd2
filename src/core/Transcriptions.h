#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "core/MessageQueue.h"
#include "hearing/Ears.h"
#include "hearing/SpeechEngine.h"

/// The way from the ears to the window thread: what they cut out of the stream becomes text on a thread of
/// its own, and is posted.
///
/// Threads: `listen`, `reap`, `end` and `join` are the window thread's.
class Transcriptions {
public:
    Transcriptions(Ears& theEars, SpeechEngine& theSpeech, MessageQueue& queue)
        : ears(theEars), speech(theSpeech), messages(queue) {}
    ~Transcriptions() { end(), join(); }
    Transcriptions(const Transcriptions&) = delete;
    Transcriptions& operator=(const Transcriptions&) = delete;

    /// Takes what the ears have to tell from now on. Before they start.
    void listen();

    /// What was heard until now is dropped, also what is still on its way to a text.
    void forget() { ++session; }

    /// Whether an utterance was heard since the last `forget`.
    [[nodiscard]] bool isCurrent(const Message& utterance) const { return utterance.source == session; }

    /// Releases the threads of transcriptions that are done.
    void reap();

    /// Calls off the transcriptions in flight; those that would begin later come to nothing.
    void end() { quit = true; }

    /// Waits for them. The ears have been stopped by then.
    void join();

private:
    /// One utterance on its way to a text.
    struct Transcription {
        std::atomic<bool> isDone = false;
        std::thread thread;
    };

    void onUtterance(std::vector<int16_t> samples, bool followUp);
    void transcribeUtterance(const std::vector<int16_t>& samples, bool followUp, uint64_t source,
                             HeardTimes heard);

    Ears& ears;
    SpeechEngine& speech;
    MessageQueue& messages;
    std::atomic<bool> quit = false;
    std::atomic<uint64_t> session = 1;  ///< the source of what is posted of utterances
    uint64_t wakeTick = 0;              ///< of the newest wake; capture thread only
    std::mutex transcribeMutex;
    std::list<Transcription> transcribeThreads;  ///< guarded by `transcribeMutex`
};
