// What the companion costs while it only looks about, on a private desktop under Xvfb: from its start to the
// first frame on screen, its share of the processor and its memory over half a minute, and the share that is
// left when nothing is drawn.

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "Figures.h"
#include "ProcessCost.h"
#include "UndrawnCompanion.h"
#include "core/Companion.h"
#include "foundation/Files.h"
#include "support/TemporaryFolder.h"
#include "support/TestProgram.h"
#include "support/XDesktop.h"

namespace {

using std::chrono::seconds;

constexpr int starts = 5;
constexpr seconds settling{5};
constexpr seconds watched{30};
constexpr seconds watchedWithoutDrawing{10};
constexpr Colour backdrop{10, 120, 40};

/// Milliseconds from the start of velu until the middle of the place where its head goes has changed.
std::optional<double> timeToFirstFrame(const XDesktop& desktop, std::unique_ptr<TestProgram>& velu) {
    const int32_t x = XDesktop::width - 24 - 102;
    const int32_t y = XDesktop::height - 12 - 120;
    const int64_t begin = nanoseconds();
    velu = std::make_unique<TestProgram>(std::vector<std::string>{VELU_PROGRAM},
                                         desktop.folder.path + "/velu.txt");
    while (millisecondsBetween(begin, nanoseconds()) < 30000) {
        if (!(desktop.picture({x, y, x + 1, y + 1}).at(0, 0) == backdrop)) {
            return millisecondsBetween(begin, nanoseconds());
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return std::nullopt;
}

/// The share of one processor core that the main loop takes with a renderer that draws nothing.
double shareWithoutDrawing() {
    Companion companion;
    openUndrawn(companion);
    std::jthread end([&companion] {
        std::this_thread::sleep_for(watchedWithoutDrawing);
        companion.messages.post({MessageId::WM_DESTROY});
    });
    const double before = processorSeconds(getpid());
    const int64_t begin = nanoseconds();
    (void)companion.mainLoop();
    return (processorSeconds(getpid()) - before) / (millisecondsBetween(begin, nanoseconds()) / 1000);
}

int measure() {
    XDesktop desktop(XDesktop::Kind::composited);
    desktop.paintBackdrop(backdrop, backdrop);
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there is but this thread yet
    setenv("VELU_HOME", desktop.folder.path.c_str(), 1);
    writeWholeFile(joinPath(desktop.folder.path, "settings.json"), R"({"micOn": false})");

    std::vector<double> times;
    std::unique_ptr<TestProgram> velu;
    for (int run = 0; run < starts; ++run) {
        velu.reset();
        while (!(desktop.picture().at(XDesktop::width - 126, XDesktop::height - 132) == backdrop))
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        const std::optional<double> time = timeToFirstFrame(desktop, velu);
        if (!time) {
            std::printf("IdleCompanion: not measured, for no head appeared\n");
            return 1;
        }
        times.push_back(*time);
    }
    std::printf("IdleCompanion: first frame on screen %.0f ms after the start (median of %d)\n",
                quantile(times, 0.5), starts);

    std::this_thread::sleep_for(settling);
    const double before = processorSeconds(velu->pid);
    const int64_t begin = nanoseconds();
    std::this_thread::sleep_for(watched);
    const double share =
        (processorSeconds(velu->pid) - before) / (millisecondsBetween(begin, nanoseconds()) / 1000);
    std::printf("IdleCompanion: over %d s %.1f %% of a core, %.0f MiB resident, drawn by the processor\n",
                static_cast<int>(watched.count()), 100 * share, residentMemory(velu->pid));
    velu.reset();
    std::printf("IdleCompanion: without drawing %.2f %% of a core (target 1)\n", 100 * shareWithoutDrawing());
    return 0;
}

}  // namespace

int main() {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there is but this thread yet
    setenv("LIBGL_ALWAYS_SOFTWARE", "1", 1);
    try {
        return measure();
    } catch (const std::exception& error) {
        std::printf("IdleCompanion: not measured; %s\n", error.what());
        return 1;
    }
}
