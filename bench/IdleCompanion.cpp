// Measures the idle companion on a private desktop under Xvfb: the time from its start to the first frame on
// the screen, its share of a core and its memory over half a minute, and the share without drawing.

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "Benchmark.h"
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

/// Returns the milliseconds from the start of velu until the screen changes in the middle of the head's
/// place.
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

/// Returns the main loop's share of a core, in percent, with a renderer that draws nothing.
double percentWithoutDrawing() {
    Companion companion(Settings::instance());
    openUndrawn(companion);
    std::jthread end([&companion] {
        std::this_thread::sleep_for(watchedWithoutDrawing);
        companion.messages.post(Destroy{});
    });
    return percentOfCore([] { return processorSeconds(getpid()); }, [&] { (void)companion.mainLoop(); });
}

int measure() {
    XDesktop desktop(XDesktop::Kind::composited);
    desktop.paintBackdrop(backdrop, backdrop);
    setVariable("VELU_HOME", desktop.folder.path);
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
    const double percent = percentOfCore([&] { return processorSeconds(velu->pid); },
                                         [] { std::this_thread::sleep_for(watched); });
    std::printf("IdleCompanion: over %d s %.1f %% of a core, %.0f MiB resident, drawn by the processor\n",
                static_cast<int>(watched.count()), percent, residentMemory(velu->pid));
    velu.reset();
    std::printf("IdleCompanion: without drawing %.2f %% of a core (target 1)\n", percentWithoutDrawing());
    return 0;
}

}  // namespace

int main() {
    setVariable("LIBGL_ALWAYS_SOFTWARE", "1");
    return runBenchmark("IdleCompanion", measure);
}
