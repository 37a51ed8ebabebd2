// WakeWord [SET]
// Measures how often the name is detected when it is said and when it isn't, and what listening costs. The
// real ears with the real recogniser process synthetic speech as fast as they can. SET is a set of the
// corpus, "report" by default.

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "ProcessCost.h"
#include "WakeSounds.h"
#include "hearing/Ears.h"

namespace {

constexpr size_t chunkSamples = 1600;
constexpr double wakeDelay = 1.8;  // seconds after the name within which a wake counts as its detection
constexpr double cleanRoom = 45;   // decibels below the speech

double threadSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// Ears with an endless stream of sound, and the cost of processing it.
struct Listener {
    Ears ears;
    double position = 0;        ///< in the stream, in seconds
    double capturing = 0;       ///< seconds of it in which an utterance was captured
    double worstChunk = 0;      ///< processor time in seconds
    std::vector<double> wakes;  ///< their positions in the stream

    Listener() {
        ears.onWake = [this] { wakes.push_back(position); };
    }

    void hear(const std::vector<int16_t>& samples) {
        for (size_t begin = 0; begin < samples.size(); begin += chunkSamples) {
            const size_t count = std::min(chunkSamples, samples.size() - begin);
            const double duration = static_cast<double>(count) / samplesPerSecond;
            position += duration;
            const double before = threadSeconds();
            ears.processChunk(samples.data() + begin, count);
            worstChunk = std::max(worstChunk, threadSeconds() - before);
            if (ears.capturing) capturing += duration;
        }
    }
};

struct Share {
    int found = 0;
    int all = 0;

    [[nodiscard]] double percent() const { return all == 0 ? 0 : 100.0 * found / all; }
};

void printDetection(Listener& listener, const std::vector<SpokenText>& texts, const std::string& set,
                    const char* room, double quieter) {
    PinkNoise noise;
    std::map<std::string, Share> byVoice;
    Share total;
    for (const SpokenText& text : texts) {
        if (text.set != set || text.part != "name") continue;
        constexpr double before = 1.2;
        constexpr double after = 2.5;
        const double begin = listener.position + before;
        listener.wakes.clear();
        listener.hear(inRoom(play(text), noise, quieter, before, after));
        const bool isFound = std::any_of(listener.wakes.begin(), listener.wakes.end(), [&](double wake) {
            return wake >= begin + text.nameBegin && wake <= begin + text.nameEnd + wakeDelay;
        });
        for (Share* share : {&total, &byVoice[text.voice]}) {
            share->found += isFound ? 1 : 0;
            ++share->all;
        }
    }
    std::printf("  %-22s %3d of %3d heard, %5.1f %%  (", room, total.found, total.all, total.percent());
    for (const auto& [voice, share] : byVoice)
        std::printf(" %s %.0f %%", voice.c_str(), share.percent());
    std::printf(" )\n");
}

void printFalseWakes(Listener& listener, const std::vector<SpokenText>& texts, const std::string& set) {
    PinkNoise noise;
    double hours = 0;
    size_t wakes = 0;
    const double before = threadSeconds();
    const double start = listener.position;
    listener.worstChunk = 0;
    for (const char* part : {"everyday", "prose", "near"}) {
        const double begin = listener.position;
        listener.wakes.clear();
        listener.capturing = 0;
        for (const SpokenText& text : texts) {
            constexpr double pause = 0.3;
            if (text.set == set && text.part == part)
                listener.hear(inRoom(play(text), noise, cleanRoom, 0, pause));
        }
        const double spent = (listener.position - begin) / 3600;
        std::printf("  %-9s %5.1f minutes: %3zu false wakes, %5.1f an hour; %.1f minutes went to captures\n",
                    part, spent * 60, listener.wakes.size(),
                    static_cast<double>(listener.wakes.size()) / spent, listener.capturing / 60);
        hours += spent;
        wakes += listener.wakes.size();
    }
    std::printf("  together  %5.1f minutes: %3zu false wakes, %5.1f an hour (target: fewer than 9)\n",
                hours * 60, wakes, static_cast<double>(wakes) / hours);
    std::printf("cost of listening to talk: %.1f %% of a core (target: 7), worst chunk %.0f ms\n",
                100 * (threadSeconds() - before) / (listener.position - start), listener.worstChunk * 1000);
}

void printCostOfSilence(Listener& listener) {
    constexpr double minute = 60;
    PinkNoise noise;
    const std::vector<int16_t> room = inRoom({}, noise, cleanRoom, minute, 0);
    const double before = threadSeconds();
    listener.hear(room);
    std::printf("cost of listening to a silent room: %.2f %% of a core\n",
                100 * (threadSeconds() - before) / minute);
}

}  // namespace

int main(int count, char** arguments) {
    const std::string set = count > 1 ? arguments[1] : "report";
    const std::vector<SpokenText> texts = readCorpus(WAKE_CORPUS);
    const bool isKnown = std::any_of(texts.begin(), texts.end(), [&](auto& text) { return text.set == set; });
    const double empty = residentMemory(getpid());
    Listener listener;
    if (!isKnown || !listener.ears.loadWakeModel(WAKE_MODEL)) {
        std::fprintf(stderr, "WakeWord: there is no speech or no model\n");
        return 1;
    }
    std::printf("wake word, the corpus's \"%s\" set\n", set.c_str());
    std::printf("the name said (target: more than 90 %% of the clean ones)\n");
    printDetection(listener, texts, set, "in a quiet room", cleanRoom);
    printDetection(listener, texts, set, "with noise at -20 dB", 20);
    printDetection(listener, texts, set, "with noise at -10 dB", 10);
    std::printf("non-stop talk without the name\n");
    printFalseWakes(listener, texts, set);
    printCostOfSilence(listener);
    std::printf("memory: %.0f MiB (target: about 40)\n", residentMemory(getpid()) - empty);
    return 0;
}
