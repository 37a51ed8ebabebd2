#include "brain/Brain.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <thread>

#include "engines/SmallDisk.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "platform/system.h"
#include "platform/texts.h"
#include "support/EngineFolder.h"
#include "support/ReleaseServer.h"

using nlohmann::json;

namespace {

using Lines = std::vector<std::string>;

const std::string finding = "Finding the latest local-AI engine...";
const std::string waking = "Waking up my brain...";
const std::string wakingGpu = "Waking up my brain (GPU)...";
const std::string stopped = "The AI engine stopped unexpectedly (see llama-server.log).";

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

    bool ensureModel(Brain& owner) {
        lines.clear();
        return owner.ensureModel(1, onStatus, &cancel);
    }

    json expectedCommand(const std::string& file, const json& reasoning) const {
        json words = {"-m",      joinPath(modelsFolder(), file),
                      "--host",  "127.0.0.1",
                      "--port",  std::to_string(brain.port),
                      "-c",      "6144",
                      "-t",      std::to_string(std::max(physicalCoreCount(), 2)),
                      "--jinja", "--no-webui",
                      "-np",     "1"};
        words.insert(words.end(), reasoning.begin(), reasoning.end());
        return words;
    }

    static json command() {
        return json::parse(contentOf(joinPath(engineFolder(false), "last-command.json")));
    }

    const std::string cpuAsset = std::string("llama-b1-") + platformTexts.cpuEngineAsset;
    ReleaseServer releases;
    Brain brain{Endpoints{releases.server.url(), releases.server.url()},
                {{"Smart - zero", "zero.gguf", "/zero.gguf", 400000},
                 {"Fast - one", "one.gguf", "/one.gguf", 400000},
                 {"Smarter - two", "two.gguf", "/two.gguf", 400000}}};
    Lines lines;
    std::string cancelAt = "never";  ///< beginning of the status line at which the user quits
    const StatusFn onStatus = [this](const std::string& line) {
        // Each progress line only once.
        const std::string told = line.rfind("Downloading", 0) == 0 ? line.substr(0, line.find("...")) : line;
        if (lines.empty() || lines.back() != told) lines.push_back(told);
        if (line.rfind(cancelAt, 0) == 0) cancel = true;
        lastLine = line;
    };
    std::string lastLine;
    std::atomic<bool> cancel = false;
};

TEST_F(BrainTest, ComesUpFromNothingStartsOnceAndReplacesOnAnotherRow) {
    std::thread worker([this] { EXPECT_TRUE(start(1)); });
    worker.join();
    EXPECT_FALSE(brain.process.waitForExit(100)) << "the server outlives the thread that started it";
    EXPECT_EQ(lines, (Lines{finding, "Downloading engine", "Unpacking engine...", "Downloading brain (Fast )",
                            waking}));
    EXPECT_EQ(command(), expectedCommand("one.gguf", {"--reasoning", "off"}));
    EXPECT_NE(contentOf(joinPath(dataFolder(), "llama-server.log")), "");
    EXPECT_EQ(std::filesystem::read_symlink("/proc/" + std::to_string(brain.process.id()) + "/cwd"),
              engineFolder(false));
    EXPECT_EQ(brain.runningModel, 1);
    const auto requests = releases.server.requests();
    EXPECT_EQ(requests.at(0).path, "/repos/ggml-org/llama.cpp/releases?per_page=8");
    EXPECT_EQ(requests.at(1).path, "/archive/" + cpuAsset);
    EXPECT_EQ(requests.at(2).path, "/one.gguf");
    const ChatResult answer = brain.chatClient().chat({{{"role", "user"}, {"content", "hello"}}}, nullptr,
                                                      400, {}, &cancel, "auto");
    EXPECT_NE(answer.text.find("stand-in"), std::string::npos);

    const int64_t first = brain.process.id();
    ASSERT_TRUE(start(1));
    EXPECT_EQ(lines, Lines{});
    EXPECT_EQ(brain.process.id(), first);
    placeModels();
    ASSERT_TRUE(start(0));
    EXPECT_EQ(lines, Lines{waking});
    EXPECT_EQ(command(), expectedCommand("zero.gguf", json::array()));
    EXPECT_NE(brain.process.id(), first);
    EXPECT_EQ(brain.runningModel, 0);
    brain.stop();
    EXPECT_FALSE(brain.ready);
    EXPECT_EQ(brain.runningModel, -1);
    EXPECT_FALSE(brain.process.isHeld());
    brain.stop();
    EXPECT_EQ(releases.server.requests().size(), 3U);
}

TEST_F(BrainTest, TellsWhyAStartFailed) {
    const Reply listed = releases.listing({cpuAsset});
    const std::tuple<Reply, Reply, Lines> cases[] = {
        {makeReply(403, "rate limit"), {}, {finding, "Couldn't reach GitHub ()"}},
        {releases.listing({}), {}, {finding, platformTexts.noEngineBuild}},
        {listed, cutReply("", 1), {finding, "Engine download failed: read failed"}},
        {listed,
         makeReply(200, "no archive"),
         {finding, "Downloading engine", "Unpacking engine...", "Couldn't unpack the engine."}},
    };
    for (const auto& [listing, archive, told] : cases) {
        releases.serve(listing, archive);
        EXPECT_FALSE(start(0));
        EXPECT_EQ(lines, told);
    }
    EXPECT_TRUE(isFile(joinPath(engineFolder(false), "engine.zip")));

    placeModels();
    installFakeEngine(dataFolder(), false, R"({"neverReady": true})");
    brain.healthTries = 1;
    EXPECT_FALSE(start(0));
    EXPECT_EQ(lines, (Lines{waking, "The AI engine took too long to start."}));
    const int64_t loading = brain.process.id();
    cancelAt = "Waking";
    EXPECT_FALSE(start(0));
    EXPECT_EQ(lines, Lines{waking});
    EXPECT_TRUE(brain.process.isHeld() && brain.process.id() != loading) << "left loading, the old one ended";
    cancel = false;
    cancelAt = "never";
    brain.healthTries = 600;
    writeWholeFile(joinPath(engineFolder(false), "script.json"), R"({"exitWhileLoading": 3})");
    EXPECT_FALSE(start(0));
    EXPECT_EQ(lines, (Lines{waking, stopped}));
    EXPECT_FALSE(brain.ready);
    EXPECT_FALSE(brain.process.isHeld());
    {
        const LoopbackServer stranger([](const Received&) { return makeReply(200, "ok"); });
        brain.port = stranger.port;
        installFakeEngine(dataFolder(), false, "{}");
        EXPECT_FALSE(start(0));
        EXPECT_EQ(lines, (Lines{waking, stopped}));
    }
    removeFile(joinPath(dataFolder(), "llama-server.log"));
    createFolder(joinPath(dataFolder(), "llama-server.log"));
    EXPECT_TRUE(start(0)) << "a server without a log is better than none";
    brain.stop();
    removeFile(engineExe(false));
    writeWholeFile(engineExe(false), "not a program");
    EXPECT_FALSE(start(0));
    EXPECT_EQ(lines, (Lines{waking, "Couldn't start the local AI engine."}));
}

TEST_F(BrainTest, TakesTheGpuBuildAndFallsBackToTheProcessors) {
    placeModels();
    int probes = 0;
    brain.probeGpu = [&] { return ++probes > 0; };
    ASSERT_TRUE(start(1));
    EXPECT_EQ(lines, (Lines{finding, "Downloading engine", "Unpacking engine...", waking}));
    EXPECT_TRUE(isLogged("gpu: no Vulkan build in recent releases, using CPU engine"));

    brain.gpuMode = 1;
    releases.serve(releases.listing({std::string("llama-b1-") + platformTexts.gpuEngineAsset}),
                   makeReply(200, llamaArchive("")));
    ASSERT_TRUE(start(0));
    EXPECT_EQ(lines.back(), wakingGpu);
    EXPECT_TRUE(isFile(joinPath(dataFolder(), "llama-vulkan/llama-server")));

    installFakeEngine(dataFolder(), true, R"({"exitWhileLoading": 1})");
    installFakeEngine(dataFolder(), false, "");
    ASSERT_TRUE(start(2));
    EXPECT_EQ(lines, (Lines{wakingGpu, stopped, waking}));
    EXPECT_TRUE(isLogged("gpu: Vulkan engine failed to start, falling back to CPU (see llama-server.log)"));
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
    EXPECT_EQ(brain.gpuMode, 1);
}

TEST_F(BrainTest, AModelIsJudgedBySizeAndTriedFourTimes) {
    const std::string file = joinPath(modelsFolder(), "one.gguf");
    const std::tuple<uint64_t, uint64_t, size_t, uint64_t> cases[] = {
        // file, part, requests, file afterwards
        {380000, 0, 0, 380000}, {379999, 0, 1, 400000}, {0, 399999, 1, 400000},
        {0, 400000, 0, 400000}, {0, 400001, 0, 400001},
    };
    for (const auto& [size, part, requests, after] : cases) {
        const size_t before = releases.server.requests().size();
        placeModel(file, size);
        placeModel(file + ".part", part);
        EXPECT_TRUE(ensureModel(brain));
        EXPECT_EQ(releases.server.requests().size() - before, requests) << size << " " << part;
        EXPECT_EQ(fileSize(file), after);
    }
    EXPECT_EQ(lastLine, "Downloading brain (Fast )... 100%  0/0 MB");
    removeFile(file);
    cancelAt = "Downloading brain";
    EXPECT_FALSE(ensureModel(brain));
    EXPECT_EQ(lines, Lines{"Downloading brain (Fast )"});
    cancel = false;
    removeFile(file + ".part");
    releases.serveModel([](const Received&) { return makeReply(404, "<html>gone</html>"); });
    const size_t before = releases.server.requests().size();
    EXPECT_FALSE(ensureModel(brain));
    EXPECT_EQ(lines, Lines{"Model download failed. Check your connection and try again."});
    EXPECT_EQ(releases.server.requests().size() - before, 4U);
    for (const char* attempt : {"0", "3"})
        EXPECT_TRUE(isLogged("model download attempt " + std::string(attempt) + " failed: status=404 err="));
}

TEST_F(BrainTest, AModelNeedsItsRoomAnd256MebibytesMore) {
    const std::string full = "Not enough disk space: the brain needs about 1 GB free on " + modelsFolder() +
                             " (set VELU_HOME to use another drive).";
    constexpr uint64_t margin = 256 << 20;
    Brain large(brain.endpoints, {{}, {"Fast - large", "large.gguf", "/large.gguf", 1 << 20}});
    large.downloadPauseMs = 1;
    releases.serveModel([](const Received&) { return makeReply(200, std::string(1 << 20, 'w')); });
    if (!mountSmallDisk(modelsFolder(), margin + (1 << 20) - 4096))
        GTEST_SKIP() << "this system lets nobody mount a disk";
    EXPECT_FALSE(ensureModel(large));
    EXPECT_EQ(lines, Lines{full});
    // Room at the start, but none left in the middle: four attempts, and what came is kept.
    ASSERT_TRUE(mountSmallDisk(modelsFolder(), margin + (1 << 20)));
    const StatusFn fillTheDisk = [&](const std::string& line) {
        const OpenFile other = openFile(joinPath(modelsFolder(), "other"), "wb");
        EXPECT_EQ(posix_fallocate(fileno(other.get()), 0, margin + (1 << 19)), 0);
        onStatus(line);
    };
    EXPECT_FALSE(large.ensureModel(1, fillTheDisk, &cancel));
    EXPECT_EQ(lines.back(), "Model download failed. Check your connection and try again.");
    EXPECT_TRUE(isLogged("model download attempt 0 failed: status=200 err=aborted"));
    EXPECT_GT(fileSize(joinPath(modelsFolder(), "large.gguf.part")), 0U);
}

}  // namespace
