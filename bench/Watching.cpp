// Measures what looking for people costs the companion, on a private desktop under Xvfb with a private camera
// of 30 pictures a second: its share of a core with the camera off, with nobody in the picture, and with
// someone whom it knows.

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>

#include "Benchmark.h"
#include "FaceModels.h"
#include "Figures.h"
#include "ProcessCost.h"
#include "UndrawnCompanion.h"
#include "core/Companion.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "foundation/Settings.h"
#include "support/CameraServer.h"
#include "support/Children.h"
#include "support/Discs.h"
#include "support/TemporaryFolder.h"
#include "support/XDesktop.h"

namespace {

using std::chrono::milliseconds;

constexpr milliseconds settling{3000};
constexpr milliseconds watched{20000};
constexpr const char* camera = "Desk camera";

void runFor(Companion& companion, milliseconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end)
        companion.pass();
}

/// Returns the processor time of the companion and of its camera process, in seconds.
double secondsUsed() {
    double seconds = processorSeconds(getpid());
    for (const pid_t child : childrenCalled("velu-camera"))
        seconds += processorSeconds(child);
    return seconds;
}

/// Returns their share of a core in percent, with a renderer that draws nothing.
double shareOf(Companion& companion) {
    runFor(companion, settling);
    return percentOfCore(secondsUsed, [&] { runFor(companion, watched); });
}

/// Copies the networks into one folder and returns its path.
std::string install(const std::string& detector, const std::string& embedder) {
    const std::string folder = joinPath(dataFolder(), "face-models");
    std::filesystem::create_directories(folder);
    constexpr auto over = std::filesystem::copy_options::overwrite_existing;
    std::filesystem::copy_file(detector, folder + "/yunet.onnx", over);
    std::filesystem::copy_file(embedder, folder + "/sface.onnx", over);
    return folder;
}

struct Watching {
    CameraServer cameras;
    Companion companion{Settings::instance()};

    explicit Watching(const std::string& models) {
        openUndrawn(companion);
        companion.bringUp.faceModels = models;
        cameras.plugIn(camera, {"YUY2:640x480@30"});
    }

    void show(const std::vector<Disc>& discs) {
        const DiscPicture picture(640, 480, discs);
        cameras.show(camera, {picture.width, picture.height, picture.pixels});
    }

    /// Switches the camera on. Returns false if it doesn't open.
    [[nodiscard]] bool open() {
        Settings::instance().camOn = true;
        companion.bringUp.startEyesWorker();
        for (int i = 0; i < 100 && !companion.eyes.running; ++i)
            runFor(companion, milliseconds(100));
        return companion.eyes.running;
    }
};

int measure() {
    XDesktop desktop(XDesktop::Kind::composited);
    setVariable("VELU_HOME", desktop.folder.path);
    {
        Watching watching(install(benchmarkDetector(), benchmarkEmbedder()));
        watching.show({});
        std::printf("Watching: camera off, without drawing: %.2f %% of a core\n",
                    shareOf(watching.companion));
        if (!watching.open()) return 1;
        std::printf("Watching: camera on, nobody there: %.2f %% of a core\n", shareOf(watching.companion));
        watching.companion.eyes.stop();
    }
    Watching watching(install(tinyModel("discs-320"), benchmarkEmbedder()));
    watching.show({});
    if (!watching.open()) return 1;
    const double nobody = shareOf(watching.companion);
    watching.show({{.x = 320, .y = 240, .radius = 80, .red = 230, .green = 20, .blue = 20}});
    runFor(watching.companion, settling);
    (void)watching.companion.eyes.learnFace("Ada");
    const double someone = shareOf(watching.companion);
    const bool isSeen = watching.companion.eyes.sighting().name == "Ada";
    watching.companion.eyes.stop();
    if (!isSeen) return 1;
    std::printf("Watching: someone there whose name is known: %.2f %% of a core more\n", someone - nobody);
    return 0;
}

}  // namespace

int main() {
    setVariable("LIBGL_ALWAYS_SOFTWARE", "1");
    return runBenchmark("Watching", [] {
        const int code = measure();
        if (code != 0) std::printf("Watching: not measured; the camera shows nobody\n");
        return code;
    });
}
