// Measures a conversation on a private desktop: the time from Enter to the request, from the first sentence's
// last byte to its pixels on the screen and to its sound, and the cost of the companion while it speaks.

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "Benchmark.h"
#include "Figures.h"
#include "ProcessCost.h"
#include "ReplyServer.h"
#include "core/Companion.h"
#include "core/WindowMode.h"
#include "support/SoundServer.h"
#include "support/TemporaryFolder.h"
#include "support/XDesktop.h"

namespace {

constexpr int rounds = 20;
constexpr double periodMs = 1000.0 / 30;

struct Times {
    std::vector<double> pressed;
    std::vector<double> submitted;
    std::vector<double> seen;
    std::vector<double> heard;
};

/// Whether the bubble's first line shows text: only text has bright pixels, not the panel or the status line.
bool showsText(const XDesktop& desktop, const Rect& panel) {
    const Screenshot line =
        desktop.picture({panel.left + 14, panel.top + 12, panel.left + 60, panel.top + 32});
    return std::any_of(line.pixels.begin(), line.pixels.end(),
                       [](const Colour& pixel) { return pixel.red > 200; });
}

template <typename Condition>
bool until(Companion& companion, Condition condition) {
    const int64_t begin = nanoseconds();
    while (!condition()) {
        if (millisecondsBetween(begin, nanoseconds()) > 30000) return false;
        companion.pass();
    }
    return true;
}

bool isQuiet(const Companion& companion) {
    return !companion.conversation.thinking && companion.voice.pending == 0;
}

/// Types one question and measures its answer. Returns false if there is none.
bool measureRound(Companion& companion, const XDesktop& desktop, const ReplyServer& server, Times& times) {
    companion.bubble.hide();
    companion.bubble.showText("");
    companion.bubble.openChat();
    if (!until(companion, [&] { return desktop.focus() == desktop.findWindow("Velu says", getpid()); }))
        return false;
    desktop.act("type hello");
    if (!until(companion, [] { return true; })) return false;
    int64_t submittedAt = 0;
    companion.bubble.onSubmit = [&](const std::string& text) {
        submittedAt = nanoseconds();
        companion.conversation.typedText(text);
    };
    const Rect panel = desktop.rectangle(desktop.findWindow("Velu says", getpid()));
    const uint64_t startedBefore = companion.voice.startedTick;
    const int64_t sentBefore = server.sentAt;
    std::atomic<int64_t> pressedAt = 0;
    std::atomic<int64_t> seenAt = 0;
    // The user presses Enter and watches the screen, while this thread runs the companion. Without its edit
    // line the panel is smaller at the top.
    std::jthread user([&] {
        pressedAt = nanoseconds();
        desktop.act("key Return");
        while (server.sentAt == sentBefore)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const Rect small{panel.left, panel.bottom - 66, panel.right, panel.bottom};
        while (!showsText(desktop, small) && millisecondsBetween(server.sentAt, nanoseconds()) < 10000)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        seenAt = nanoseconds();
    });
    uint64_t startedTick = 0;
    const bool isDone = until(companion, [&] {
        if (startedTick == 0 && companion.voice.startedTick != startedBefore)
            startedTick = companion.voice.startedTick;
        return seenAt != 0 && startedTick != 0 && isQuiet(companion);
    });
    user.join();
    if (!isDone) return false;
    times.pressed.push_back(millisecondsBetween(pressedAt, server.askedAt));
    times.submitted.push_back(millisecondsBetween(submittedAt, server.askedAt));
    times.seen.push_back(millisecondsBetween(server.sentAt, seenAt));
    // Both clocks have the same origin; the tick is in milliseconds and one ahead.
    times.heard.push_back(static_cast<double>(startedTick - 1) - static_cast<double>(server.sentAt) / 1e6);
    return true;
}

void print(const char* what, const std::vector<double>& values) {
    std::printf("SpokenReply: %s %.1f ms (median of %zu; 95 %% within %.1f ms)\n", what,
                quantile(values, 0.5), values.size(), quantile(values, 0.95));
}

bool measureLatencies(Companion& companion, const XDesktop& desktop) {
    ReplyServer server({"This", " is", " the", " first", " sentence", "."}, {" it", " goes."}, 5);
    companion.brain.port = server.port;
    Times times;
    for (int round = 0; round < rounds; ++round) {
        if (!measureRound(companion, desktop, server, times)) return false;
    }
    print("from pressing Enter to the request", times.pressed);
    print("from the chat box to the request", times.submitted);
    print("from the first sentence's last byte to its pixels", times.seen);
    print("from the first sentence's last byte to its sound", times.heard);
    return true;
}

bool measureSpeaking(Companion& companion) {
    std::vector<std::string> rest;
    for (int sentence = 0; sentence < 8; ++sentence)
        rest.emplace_back(" And here comes one more sentence that is spoken aloud.");
    ReplyServer server({"This is the beginning."}, rest, 300);
    companion.brain.port = server.port;
    companion.conversation.startTurn("speak");
    if (!until(companion, [&] { return companion.voice.pending > 0; })) return false;
    const int64_t begin = nanoseconds();
    int64_t previous = begin;
    int frames = 0;
    int late = 0;
    double longest = 0;
    const auto speak = [&] {
        while (!isQuiet(companion)) {
            companion.pass();
            const int64_t now = nanoseconds();
            const double gap = millisecondsBetween(previous, now);
            previous = now;
            ++frames;
            longest = std::max(longest, gap);
            if (gap > 2 * periodMs) ++late;
        }
    };
    const double percent = percentOfCore([] { return processorSeconds(getpid()); }, speak);
    const double seconds = millisecondsBetween(begin, previous) / 1000;
    std::printf(
        "SpokenReply: %.1f s of speech, %d frames, %d late by more than a period (target 0; longest gap %.1f "
        "ms)\n",
        seconds, frames, late, longest);
    std::printf("SpokenReply: %.1f %% of a core, %.0f MiB resident, drawn by the processor\n", percent,
                residentMemory(getpid()));
    return true;
}

int measure(const TemporaryFolder& folder) {
    XDesktop desktop(XDesktop::Kind::composited);
    SoundServer sound;
    setVariable("VELU_HOME", folder.path);
    Endpoints nowhere;
    nowhere.releases = nowhere.models = "http://127.0.0.1:1";
    Settings::instance().micOn = false;
    Companion companion(Settings::instance(), nowhere);
    companion.brain.probeGpu = [] { return false; };
    if (!startCompanion(companion)) return 1;
    // The reply server takes the engine's place.
    bool isMeasured =
        until(companion, [&] { return !companion.bringUp.brainStarting && isQuiet(companion); });
    companion.brain.ready = true;
    companion.bringUp.brainReady = true;
    isMeasured = isMeasured && measureLatencies(companion, desktop) && measureSpeaking(companion);
    shutDownCompanion(companion);
    if (!isMeasured) std::printf("SpokenReply: not measured, for something didn't happen in time\n");
    return isMeasured ? 0 : 1;
}

}  // namespace

int main() {
    setVariable("LIBGL_ALWAYS_SOFTWARE", "1");
    return runBenchmark("SpokenReply", [] {
        const TemporaryFolder folder;
        return measure(folder);
    });
}
