// Measures how long `velu --ask` takes from its start to its first request to the engine, and how much of
// that is the engine's own start.

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Benchmark.h"
#include "Figures.h"
#include "Sockets.h"
#include "brain/ModelCatalogue.h"
#include "foundation/Files.h"
#include "platform/process.h"
#include "platform/texts.h"
#include "support/TemporaryFolder.h"

namespace fs = std::filesystem;

namespace {

constexpr int runs = 20;
constexpr int32_t enginePort = 8765;

/// The phases of one run, in milliseconds.
struct Phases {
    double untilEngine;   ///< from velu's start to the engine's first line of code
    double engine;        ///< from there until it listens
    double untilHealthy;  ///< from there to the arrival of the last health request
    double untilRequest;  ///< from there to the arrival of the first chat request
};

/// Installs the engine for both builds, and a sparse model file.
void install(const std::string& home) {
    for (const char* build : {"llama", "llama-vulkan"}) {
        fs::create_directories(fs::path(home) / build);
        fs::copy_file(TIMED_ENGINE, fs::path(home) / build / platformTexts.engineProgram);
    }
    const ModelInfo& model = modelCatalogue().front();
    const fs::path path = fs::path(home) / "models" / model.file;
    fs::create_directories(path.parent_path());
    writeWholeFile(path.string(), "");
    fs::resize_file(path, model.size);
}

/// Returns the times that the engine recorded: the first of each kind, but the last "health" before the first
/// "chat".
std::map<std::string, int64_t> readTimes(const std::string& path) {
    std::map<std::string, int64_t> times;
    std::ifstream lines(path);
    std::string what;
    int64_t when = 0;
    while (lines >> what >> when) {
        const bool counts = what == "health" ? times.count("chat") == 0 : times.count(what) == 0;
        if (counts) times[what] = when;
    }
    return times;
}

/// Runs velu once. Returns nothing if no request arrived.
std::optional<Phases> ask(const std::string& home) {
    const std::vector<std::string> records = {joinPath(home, "llama/times.txt"),
                                              joinPath(home, "llama-vulkan/times.txt")};
    for (const std::string& record : records)
        removeFile(record);
    ProcessOptions options;
    options.executable = VELU_PROGRAM;
    options.arguments = {"--ask", "Are you there?"};
    options.logFile = joinPath(home, "velu-output.txt");
    ChildProcess velu;
    const int64_t start = nanoseconds();
    if (!velu.start(options) || !velu.waitForExit(30000)) return std::nullopt;
    for (const std::string& record : records) {
        std::map<std::string, int64_t> times = readTimes(record);
        if (times.size() != 4) continue;
        return Phases{millisecondsBetween(start, times["began"]),
                      millisecondsBetween(times["began"], times["listening"]),
                      millisecondsBetween(times["listening"], times["health"]),
                      millisecondsBetween(times["health"], times["chat"])};
    }
    return std::nullopt;
}

/// Returns the median of a value over all runs.
template <typename Value>
double middle(const std::vector<Phases>& phases, Value value) {
    std::vector<double> values(phases.size());
    std::transform(phases.begin(), phases.end(), values.begin(), value);
    return quantile(values, 0.5);
}

bool portIsFree() {
    int32_t port = enginePort;
    const int listener = listenOnLoopback(port);
    if (listener < 0) return false;
    close(listener);
    return true;
}

}  // namespace

int main() {
    if (!portIsFree()) {
        std::printf("AskStart: not measured, for port %d is taken; is another Velu running?\n", enginePort);
        return 1;
    }
    const TemporaryFolder folder;
    setVariable("VELU_HOME", folder.path);
    // The lock against a second copy is in this folder; a running Velu mustn't keep this one from starting.
    setVariable("XDG_RUNTIME_DIR", folder.path);
    install(folder.path);

    std::vector<Phases> phases;
    for (int run = 0; run < runs; ++run) {
        const std::optional<Phases> found = ask(folder.path);
        if (!found) {
            std::string output;
            (void)readWholeFile(joinPath(folder.path, "velu-output.txt"), output);
            std::printf("AskStart: not measured, for no request arrived; velu said:\n%s\n", output.c_str());
            return 1;
        }
        phases.push_back(*found);
    }
    const auto total = [](const Phases& p) {
        return p.untilEngine + p.engine + p.untilHealthy + p.untilRequest;
    };
    const auto own = [&](const Phases& p) { return total(p) - p.engine; };
    const double totalMedian = middle(phases, total);
    const double ownMedian = middle(phases, own);
    std::printf(
        "AskStart: first request %.1f ms after the start of velu; %.1f ms of it the engine's, %.1f ms ours "
        "(%.0f %%)\n",
        totalMedian, middle(phases, [](const Phases& p) { return p.engine; }), ownMedian,
        100 * ownMedian / totalMedian);
    std::printf(
        "  medians of %d; before the engine %.1f ms, until its health is known %.1f ms, until the request "
        "%.1f ms\n",
        runs, middle(phases, [](const Phases& p) { return p.untilEngine; }),
        middle(phases, [](const Phases& p) { return p.untilHealthy; }),
        middle(phases, [](const Phases& p) { return p.untilRequest; }));
    return 0;
}
