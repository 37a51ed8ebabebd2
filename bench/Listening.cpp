// Measures what listening costs and how soon a sentence is over: the share of a core in a quiet room and
// during talk, the longest processing time of a chunk, and the time from the last loud chunk of a sentence
// until its sound has reached the speech engine.

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Benchmark.h"
#include "Figures.h"
#include "ProcessCost.h"
#include "Sockets.h"
#include "core/Transcriptions.h"
#include "hearing/Loudness.h"
#include "hearing/WakeWord.h"
#include "support/SoundServer.h"
#include "support/Speech.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr size_t chunkSamples = 1600;
constexpr seconds watched{20};
constexpr int sentences = 15;
constexpr double endSilence = 850;  // ms of quiet that end a sentence

std::vector<int16_t> talk() {
    std::vector<int16_t> all;
    for (const char* voice : {"slt", "rms", "awb"}) {
        const std::vector<int16_t> said = speech(
            "yesterday we went to the market and bought some apples. then it began to rain, so we took the "
            "bus home, where a good friend was waiting for us with tea and cake.",
            voice);
        all.insert(all.end(), said.begin(), said.end());
    }
    return all;
}

/// Returns the processing time of each chunk of the sound in milliseconds.
std::vector<double> chunkTimes(Ears& ears, const std::vector<int16_t>& sound) {
    std::vector<double> times;
    for (size_t at = 0; at < sound.size(); at += chunkSamples) {
        const int64_t begin = nanoseconds();
        ears.processChunk(&sound[at], std::min(chunkSamples, sound.size() - at));
        times.push_back(millisecondsBetween(begin, nanoseconds()));
    }
    return times;
}

void measureChunks(const std::vector<int16_t>& said) {
    std::vector<int16_t> noise(said.size());
    for (size_t at = 0; at < noise.size(); ++at)
        noise[at] = static_cast<int16_t>(rand() % 8000 - 4000);  // NOLINT(concurrency-mt-unsafe)
    Ears ears;
    if (!ears.loadWakeModel(wakeModelFolder())) throw std::runtime_error("there is no wake model");
    std::printf("a chunk of 100 ms, median and worst:");
    for (const auto& [name, sound] : {std::pair{"quiet", std::vector<int16_t>(said.size(), 30)},
                                      std::pair{"talk", said}, std::pair{"noise", noise}}) {
        const std::vector<double> times = chunkTimes(ears, sound);
        std::printf("  %s %.2f and %.1f ms", name, quantile(times, 0.5), quantile(times, 1));
    }
    std::printf("; the ring of a microphone has room for 800 ms\n");
}

/// Returns this process's share of a core, in percent, over the next seconds.
double percent() {
    return percentOfCore([] { return processorSeconds(getpid()); },
                         [] { std::this_thread::sleep_for(watched); });
}

/// A speech engine that returns an empty transcript and records when it was asked.
class SilentEngine {
public:
    SilentEngine() : listener(listenOnLoopback(port)), thread([this] { serve(); }) {}
    ~SilentEngine() {
        quit = true;
        close(connectToLoopback(port));
        thread.join();
        close(listener);
    }
    SilentEngine(const SilentEngine&) = delete;
    SilentEngine& operator=(const SilentEngine&) = delete;

    int32_t port = 0;
    std::atomic<int64_t> askedAt = 0;

private:
    void serve() {
        while (!quit) {
            const int connection = acceptConnection(listener);
            if (!readRequest(connection).empty()) {
                askedAt = nanoseconds();
                sendAll(connection, "HTTP/1.1 200 OK\r\nContent-Length: 11\r\n\r\n{\"text\":\"\"}");
            }
            close(connection);
        }
    }

    std::atomic<bool> quit = false;
    int listener;
    std::thread thread;
};

void measureListening(const std::vector<int16_t>& said) {
    SoundServer room;
    SilentEngine engine;
    SpeechEngine speechEngine;
    speechEngine.port = engine.port;
    speechEngine.ready = true;
    MessageQueue messages;
    Transcriptions transcriptions(speechEngine, messages);
    Ears ears;
    transcriptions.listen(ears);
    if (!ears.loadWakeModel(wakeModelFolder())) throw std::runtime_error("there is no wake model");
    std::atomic<int64_t> lastLoud = 0;
    ears.onAudio = [&](const int16_t* samples, size_t count) {
        // Apart from the sentences the room is silent, so the lowest threshold applies.
        if (loudnessOf(samples, count).rms > loudnessThreshold(0)) lastLoud = nanoseconds();
    };
    (void)ears.start();
    std::this_thread::sleep_for(seconds(3));
    std::printf("ears that hear a quiet room: %.2f %% of a core\n", percent());

    std::vector<double> waits;
    for (int i = 0; i < sentences; ++i) {
        engine.askedAt = 0;
        ears.followUpRequested = true;
        // The lengths differ, so that the end falls anywhere within a chunk.
        const auto length = static_cast<std::ptrdiff_t>(24000 + i * 107);
        const auto sentence = room.playToRoom({said.begin(), said.begin() + length});
        (void)sentence->wait();
        for (int tries = 0; tries < 3000 && engine.askedAt == 0; ++tries)
            std::this_thread::sleep_for(milliseconds(2));
        if (engine.askedAt != 0) waits.push_back(millisecondsBetween(lastLoud, engine.askedAt) - endSilence);
        std::this_thread::sleep_for(milliseconds(300));
    }
    std::printf(
        "from the last loud chunk to the engine's having the sound, beyond 850 ms: %.0f ms "
        "(95 %% within %.0f, worst %.0f; at most 110), of %zu sentences\n",
        quantile(waits, 0.5), quantile(waits, 0.95), quantile(waits, 1), waits.size());

    // During endless talk, wake spotting and captures alternate.
    std::vector<int16_t> endless;
    while (endless.size() < 16000 * (watched.count() + 2))
        endless.insert(endless.end(), said.begin(), said.end());
    const auto talking = room.playToRoom(endless);
    std::printf("ears that hear talk: %.2f %% of a core; %.0f MiB resident\n", percent(),
                residentMemory(getpid()));
    ears.stop();
    transcriptions.end();
    transcriptions.join();
}

}  // namespace

int main() {
    return runBenchmark("Listening", [] {
        const std::vector<int16_t> said = talk();
        measureChunks(said);
        measureListening(said);
        return 0;
    });
}
