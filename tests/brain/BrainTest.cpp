#include "brain/Brain.h"

#include <gtest/gtest.h>

#include <thread>

#include "foundation/Files.h"
#include "foundation/HttpClient.h"
#include "foundation/Paths.h"
#include "foundation/Ticks.h"
#include "platform/system.h"
#include "support/EngineFolder.h"
#include "support/LoopbackServer.h"

using nlohmann::json;

namespace {

std::vector<ModelInfo> smallModels() {
    return {{"Smart - zero", "zero.gguf", "/zero.gguf", 1000},
            {"Fast - one", "one.gguf", "/one.gguf", 1000},
            {"Smarter - two", "two.gguf", "/two.gguf", 1000}};
}

/// A brain whose engine and models are already on disk.
class BrainTest : public testing::Test {
protected:
    BrainTest() {
        for (const ModelInfo& model : brain.catalogue)
            placeModel(joinPath(modelsFolder(), model.file), model.size);
        brain.port = freePort();
        brain.probeGpu = [] { return false; };
    }

    bool start(int32_t row) {
        return brain.start(
            row, [this](const std::string& line) { lines.push_back(line); }, &cancel);
    }

    static json commandOf(bool useGpu) {
        std::string bytes;
        EXPECT_TRUE(readWholeFile(joinPath(engineFolder(useGpu), "last-command.json"), bytes));
        return json::parse(bytes, nullptr, false);
    }

    json expectedCommand(const char* file, bool reasoningOff) const {
        json words = {"-m",      joinPath(modelsFolder(), file),
                      "--host",  "127.0.0.1",
                      "--port",  std::to_string(brain.port),
                      "-c",      "6144",
                      "-t",      std::to_string(std::max(physicalCoreCount(), 2)),
                      "--jinja", "--no-webui",
                      "-np",     "1"};
        if (reasoningOff) {
            words.push_back("--reasoning");
            words.push_back("off");
        }
        return words;
    }

    using Lines = std::vector<std::string>;
    Brain brain{Endpoints{"http://127.0.0.1:1", "http://127.0.0.1:1"}, smallModels()};
    Lines lines;
    std::atomic<bool> cancel = false;
};

TEST_F(BrainTest, StartsOnceReplacesOnAnotherRowAndStops) {
    installFakeEngine(dataFolder(), false, R"({"loadMs": 300})");
    ASSERT_TRUE(start(0));
    EXPECT_EQ(lines, Lines{"Waking up my brain..."});
    EXPECT_EQ(commandOf(false), expectedCommand("zero.gguf", false));
    EXPECT_TRUE(brain.ready);
    EXPECT_EQ(brain.runningModel, 0);
    const int64_t first = brain.process.id();

    ASSERT_TRUE(start(0));
    EXPECT_EQ(lines.size(), 1u) << "already there: not a word";
    EXPECT_EQ(brain.process.id(), first);

    ASSERT_TRUE(start(2));
    EXPECT_EQ(commandOf(false), expectedCommand("two.gguf", true));
    EXPECT_NE(brain.process.id(), first);
    EXPECT_EQ(brain.runningModel, 2);

    brain.stop();
    EXPECT_FALSE(brain.ready);
    EXPECT_EQ(brain.runningModel, -1);
    EXPECT_FALSE(brain.process.isHeld());
    EXPECT_EQ(HttpClient::send("http://127.0.0.1:" + std::to_string(brain.port) + "/health", {}).status, 0);
    brain.stop();
}

TEST_F(BrainTest, TheServerOutlivesTheWorkerThatStartedIt) {
    installFakeEngine(dataFolder(), false, "");
    std::thread worker([this] { EXPECT_TRUE(start(1)); });
    worker.join();
    EXPECT_FALSE(brain.process.waitForExit(300));
}

TEST_F(BrainTest, TellsWhyAStartFailed) {
    installFakeEngine(dataFolder(), false, R"({"exitWhileLoading": 3})");
    EXPECT_FALSE(start(0));
    EXPECT_EQ(lines,
              (Lines{"Waking up my brain...", "The AI engine stopped unexpectedly (see llama-server.log)."}));
    EXPECT_FALSE(brain.process.isHeld());
    lines.clear();
    writeWholeFile(engineExe(false), "not a program");
    EXPECT_FALSE(start(0));
    EXPECT_EQ(lines, (Lines{"Waking up my brain...", "Couldn't start the local AI engine."}));
}

TEST_F(BrainTest, AStrangerOnThePortIsAFailedStart) {
    const LoopbackServer stranger([](const Received&) { return makeReply(200, "{\"status\":\"ok\"}"); });
    brain.port = stranger.port;
    installFakeEngine(dataFolder(), false, "");
    EXPECT_FALSE(start(0));
    EXPECT_EQ(lines.back(), "The AI engine stopped unexpectedly (see llama-server.log).");
    EXPECT_FALSE(brain.ready);
}

TEST_F(BrainTest, ACancelLeavesTheLoadingServerForTheNextStartToEnd) {
    installFakeEngine(dataFolder(), false, R"({"neverReady": true})");
    std::thread canceller([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        cancel = true;
    });
    EXPECT_FALSE(start(0));
    canceller.join();
    EXPECT_EQ(lines, Lines{"Waking up my brain..."});
    ASSERT_TRUE(brain.process.isHeld());
    const int64_t leftBehind = brain.process.id();

    cancel = false;
    installFakeEngine(dataFolder(), false, "{}");
    ASSERT_TRUE(start(0));
    EXPECT_NE(brain.process.id(), leftBehind);
}

TEST_F(BrainTest, FallsBackToTheProcessorForTheRestOfTheRun) {
    int probes = 0;
    brain.probeGpu = [&] { return ++probes > 0; };
    installFakeEngine(dataFolder(), true, R"({"exitWhileLoading": 1})");
    installFakeEngine(dataFolder(), false, "");
    ASSERT_TRUE(start(1));
    EXPECT_EQ(lines,
              (Lines{"Waking up my brain (GPU)...",
                     "The AI engine stopped unexpectedly (see llama-server.log).", "Waking up my brain..."}));
    EXPECT_EQ(brain.gpuMode, 0);
    EXPECT_EQ(commandOf(true), expectedCommand("one.gguf", true));
    std::string log;
    ASSERT_TRUE(readWholeFile(joinPath(dataFolder(), "velu.log"), log));
    EXPECT_NE(log.find("gpu: Vulkan engine failed to start, falling back to CPU (see llama-server.log)\n"),
              std::string::npos);

    lines.clear();
    ASSERT_TRUE(start(0));
    EXPECT_EQ(lines, Lines{"Waking up my brain..."});
    EXPECT_EQ(probes, 1);
}

TEST_F(BrainTest, GivesUpWhenBothBuildsFailOrTheUserQuits) {
    brain.probeGpu = [] { return true; };
    installFakeEngine(dataFolder(), true, R"({"exitWhileLoading": 1})");
    installFakeEngine(dataFolder(), false, R"({"exitWhileLoading": 1})");
    EXPECT_FALSE(start(0));
    EXPECT_EQ(lines.size(), 4u) << "two attempts, no third";

    lines.clear();
    brain.gpuMode = 1;
    installFakeEngine(dataFolder(), true, R"({"neverReady": true})");
    EXPECT_FALSE(brain.start(
        0,
        [this](const std::string& line) {
            lines.push_back(line);
            cancel = true;
        },
        &cancel));
    EXPECT_EQ(lines, Lines{"Waking up my brain (GPU)..."}) << "no fall-back behind a cancel";
    EXPECT_EQ(brain.gpuMode, 1);

    lines.clear();
    cancel = false;
    brain.gpuMode = 0;
    brain.healthTries = 1;
    installFakeEngine(dataFolder(), false, R"({"neverReady": true})");
    EXPECT_FALSE(start(0));
    EXPECT_EQ(lines.back(), "The AI engine took too long to start.");
    EXPECT_TRUE(brain.process.isHeld()) << "left loading";
}

TEST_F(BrainTest, WithoutAServerLogTheServerRunsAllTheSame) {
    createFolder(joinPath(dataFolder(), "llama-server.log"));  // a folder can't be opened for writing
    installFakeEngine(dataFolder(), false, "");
    EXPECT_TRUE(start(0));
}

}  // namespace
