#include "brain/Brain.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "platform/system.h"
#include "platform/texts.h"
#include "support/EngineFolder.h"
#include "support/ReleaseServer.h"

namespace {

using Lines = std::vector<std::string>;

const std::string finding = "Finding the latest local-AI engine...";
const std::string unpacking = "Unpacking engine...";
const std::string waking = "Waking up my brain...";
const std::string wakingGpu = "Waking up my brain (GPU)...";
const std::string stopped = "The AI engine stopped unexpectedly (see llama-server.log).";
constexpr uint64_t modelSize = 1 << 20;

/// A brain on an empty data folder, and the hosts that it installs from.
class BrainTest : public testing::Test {
protected:
    BrainTest() {
        brain.port = freePort();
        brain.probeGpu = [] { return false; };
        brain.downloadPauseMs = 1;
        releases.serve(releases.listing({"llama-b1-other", "cudart-" + cpuAsset, cpuAsset}),
                       makeReply(200, llamaArchive("")));
    }

    void placeModels() const {
        for (const ModelInfo& model : brain.catalogue)
            placeModel(joinPath(modelsFolder(), model.file), model.size);
    }

    bool start(int32_t row) {
        lines.clear();
        return brain.start(row, onStatus, &cancel);
    }

    std::string command(const std::string& file, const std::string& reasoning) const {
        return R"(["-m",")" + joinPath(modelsFolder(), file) + R"(","--host","127.0.0.1","--port",")" +
               std::to_string(brain.port) + R"(","-c","6144","-t",")" +
               std::to_string(std::max(physicalCoreCount(), 2)) + R"(","--jinja","--no-webui","-np","1")" +
               reasoning + "]";
    }

    const std::string serverLog = joinPath(dataFolder(), "llama-server.log");
    const std::string cpuAsset = std::string("llama-b1-") + platformTexts.cpuEngineAsset;
    ReleaseServer releases;
    Brain brain{Endpoints{releases.server.url(), releases.server.url()},
                {{"Smart - zero", "zero.gguf", "/zero.gguf", modelSize},
                 {"Fast - one", "one.gguf", "/one.gguf", modelSize}}};
    Lines lines;                     ///< of each progress only the last
    std::string cancelAt = "never";  ///< beginning of the status line at which the user quits
    const StatusFn onStatus = [this](const std::string& line) {
        const bool isProgress = line.rfind("Downloading", 0) == 0 && !lines.empty();
        if (isProgress && line.substr(0, 18) == lines.back().substr(0, 18)) lines.pop_back();
        lines.push_back(line);
        if (line.rfind(cancelAt, 0) == 0) cancel = true;
    };
    std::atomic<bool> cancel = false;
};

TEST_F(BrainTest, ComesUpFromNothingStartsOnceAndReplacesOnAnotherRow) {
    placeModel(joinPath(modelsFolder(), "one.gguf.part"), modelSize - 1000);
    std::thread worker([this] { EXPECT_TRUE(start(1)); });
    worker.join();
    EXPECT_FALSE(brain.process.waitForExit(100)) << "the server outlives the thread that started it";
    const std::string size = std::to_string(llamaArchive("").size() >> 20);
    EXPECT_EQ(lines, (Lines{finding, "Downloading engine... " + size + "/" + size + " MB", unpacking,
                            "Downloading brain (Fast )... 100%  1/1 MB", waking}));
    const std::string lastCommand = joinPath(engineFolder(false), "last-command.json");
    EXPECT_EQ(contentOf(lastCommand), command("one.gguf", R"(,"--reasoning","off")"));
    EXPECT_NE(contentOf(serverLog), "");
    const int64_t first = brain.process.id();
    EXPECT_EQ(std::filesystem::read_symlink("/proc/" + std::to_string(first) + "/cwd"), engineFolder(false));
    const auto requests = releases.server.requests();
    EXPECT_EQ(requests.at(0).path, "/repos/ggml-org/llama.cpp/releases?per_page=8");
    EXPECT_EQ(requests.at(1).path, "/archive/" + cpuAsset);
    EXPECT_EQ(requests.at(2).path, "/one.gguf");

    ASSERT_TRUE(start(1));
    EXPECT_EQ(lines, Lines{});
    EXPECT_EQ(brain.process.id(), first);
    placeModels();
    ASSERT_TRUE(start(0));
    EXPECT_EQ(lines, Lines{waking});
    EXPECT_EQ(contentOf(lastCommand), command("zero.gguf", ""));
    EXPECT_NE(brain.process.id(), first);
    brain.stop();
    EXPECT_FALSE(brain.ready || brain.process.isHeld());
    EXPECT_EQ(brain.runningModel, -1);
    EXPECT_EQ(releases.server.requests().size(), 3U);
}

TEST_F(BrainTest, TellsWhyTheEngineCantBeInstalled) {
    const Reply listed = releases.listing({cpuAsset});
    const std::tuple<Reply, Reply, std::string> cases[] = {
        {makeReply(403, "rate limit"), {}, "Couldn't reach GitHub ()"},
        {releases.listing({}), {}, platformTexts.noEngineBuild},
        {listed, cutReply("", 1), "Engine download failed: read failed"},
        {listed, makeReply(200, "no archive"), "Couldn't unpack the engine."},
    };
    for (const auto& [listing, archive, told] : cases) {
        releases.serve(listing, archive);
        EXPECT_FALSE(start(0));
        EXPECT_EQ(lines.back(), told);
    }
    EXPECT_TRUE(isFile(joinPath(engineFolder(false), "engine.zip")));
}

TEST_F(BrainTest, TellsWhyTheServerDidntStart) {
    placeModels();
    installFakeEngine(dataFolder(), false, R"({"neverReady": true})");
    brain.healthTries = 1;
    EXPECT_FALSE(start(0));
    EXPECT_EQ(lines, (Lines{waking, "The AI engine took too long to start."}));
    brain.healthTries = 600;
    const int64_t loading = brain.process.id();
    cancelAt = "Waking";
    EXPECT_FALSE(start(0));
    EXPECT_EQ(lines, Lines{waking});
    EXPECT_TRUE(brain.process.isHeld()) << "left loading";
    EXPECT_NE(brain.process.id(), loading);
    cancel = false;
    cancelAt = "never";
    {
        const LoopbackServer stranger([](const Received&) { return makeReply(200, "ok"); });
        brain.port = stranger.port;
        installFakeEngine(dataFolder(), false, "{}");
        EXPECT_FALSE(start(0));
        EXPECT_EQ(lines, (Lines{waking, stopped}));
        EXPECT_FALSE(brain.process.isHeld());
    }
    removeFile(engineExe(false));
    writeWholeFile(engineExe(false), "not a program");
    EXPECT_FALSE(start(0));
    EXPECT_EQ(lines, (Lines{waking, "Couldn't start the local AI engine."}));
}

TEST_F(BrainTest, TakesTheGpuBuildAndFallsBackToTheProcessors) {
    placeModels();
    int probes = 0;
    brain.probeGpu = [&] { return ++probes > 0; };
    ASSERT_TRUE(start(1)) << "the CPU build is installed if there is no other";
    EXPECT_EQ(lines.back(), waking);
    EXPECT_TRUE(isLogged("gpu: no Vulkan build in recent releases, using CPU engine"));

    brain.gpuMode = 1;
    releases.serve(releases.listing({std::string("llama-b1-") + platformTexts.gpuEngineAsset}),
                   makeReply(200, llamaArchive(R"({"exitWhileLoading": 1})")));
    ASSERT_TRUE(start(0));
    EXPECT_EQ(Lines(lines.end() - 3, lines.end()), (Lines{wakingGpu, stopped, waking}));
    EXPECT_TRUE(isLogged("gpu: Vulkan engine failed to start, falling back to CPU (see llama-server.log)"));
    EXPECT_TRUE(isFile(joinPath(dataFolder(), "llama-vulkan/llama-server")));
    ASSERT_TRUE(start(1));
    EXPECT_EQ(lines, Lines{waking}) << "for the rest of the process";
    EXPECT_EQ(probes, 1);

    installFakeEngine(dataFolder(), false, R"({"exitWhileLoading": 1})");
    brain.gpuMode = 1;
    EXPECT_FALSE(start(0));
    EXPECT_EQ(lines, (Lines{wakingGpu, stopped, waking, stopped})) << "no third attempt";
    brain.gpuMode = 1;
    cancelAt = "Waking";
    EXPECT_FALSE(start(0));
    EXPECT_EQ(lines, Lines{wakingGpu}) << "no fall-back after a cancel";
}

TEST_F(BrainTest, AModelIsJudgedBySizeAndTriedFourTimes) {
    const std::string file = joinPath(modelsFolder(), "zero.gguf");
    const auto ensure = [&] {
        lines.clear();
        const size_t before = releases.server.requests().size();
        const bool isThere = brain.ensureModel(0, onStatus, &cancel);
        return std::pair(isThere, releases.server.requests().size() - before);
    };
    const std::tuple<uint64_t, uint64_t, size_t, uint64_t> cases[] = {
        // file, part, requests, file afterwards
        {996147, 0, 0, 996147},
        {996146, 0, 1, modelSize},
        {0, modelSize - 1, 1, modelSize},
        {0, modelSize, 0, modelSize},
        {0, modelSize + 1, 0, modelSize + 1},
    };
    for (const auto& [size, part, requests, after] : cases) {
        placeModel(file, size);
        placeModel(file + ".part", part);
        EXPECT_EQ(ensure(), std::pair(true, requests)) << size << " " << part;
        EXPECT_EQ(fileSize(file), after);
    }
    removeFile(file);
    releases.serveModel([](const Received&) { return makeReply(404, "<html>gone</html>"); });
    EXPECT_EQ(ensure(), std::pair(false, size_t{4}));
    EXPECT_EQ(lines, Lines{"Model download failed. Check your connection and try again."});
    EXPECT_TRUE(isLogged("model download attempt 3 failed: status=404 err="));
    cancel = true;
    EXPECT_EQ(ensure(), std::pair(false, size_t{1}));
    EXPECT_EQ(lines, Lines{});
}

TEST_F(BrainTest, AModelNeedsItsRoomAnd256MebibytesMore) {
    // Other programs write to the same disk, so the sizes keep their distance.
    constexpr uint64_t distance = 128 << 20;
    const uint64_t room = freeDiskSpace(modelsFolder()).value() - (256 << 20);
    const auto ensure = [&](uint64_t size) {
        Brain large(brain.endpoints, {{"Fast - large", "large.gguf", "/large.gguf", size}});
        lines.clear();
        large.downloadPauseMs = 1;
        return large.ensureModel(0, onStatus, &cancel);
    };
    EXPECT_FALSE(ensure(room + distance));
    EXPECT_EQ(lines, Lines{"Not enough disk space: the brain needs about " +
                           std::to_string(((room + distance) >> 30) + 1) + " GB free on " +
                           volumeName(modelsFolder()) + " (set VELU_HOME to use another drive)."});
    EXPECT_TRUE(ensure(room - distance));
}

}  // namespace
