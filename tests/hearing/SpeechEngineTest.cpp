// The speech engine from an empty data folder to its end, and the CUDA upgrade beside it.

#include "hearing/SpeechEngine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <thread>

#include "engines/EngineFolders.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "hearing/SpeechEngineBuilds.h"
#include "platform/texts.h"
#include "support/EngineFolder.h"
#include "support/ReleaseServer.h"
#include "support/Soon.h"

namespace {

using Lines = std::vector<std::string>;

class SpeechEngineTest : public testing::Test {
protected:
    SpeechEngineTest() {
        releases.serve(releases.listing({"my-" + asset, asset + ".sig", asset}),
                       makeReply(200, whisperArchive("")));
        prepare(engine, false);
    }

    void prepare(SpeechEngine& other, bool hasCard) const {
        other.port = port;
        other.downloadPauseMs = 1;
        other.probeCuda = [hasCard] { return hasCard; };
    }

    /// Puts all on disk that the CPU build needs.
    void install(const std::string& script) const {
        placeModel(model, 140566000);
        installFakeSpeechEngine(speechFolder(), script);
    }

    bool start(SpeechEngine& other) {
        lines.clear();
        problems.clear();
        const auto onProgress = [this](const std::string& line) {
            lines.push_back(line);
            if (line == cancelAt) cancel = true;
        };
        return other.start(
            onProgress, [this](const std::string& line) { problems.push_back(line); }, &cancel);
    }

    /// Has the engine transcribe a second of a tone.
    std::string heard(SpeechEngine& running, double hertz) {
        std::vector<int16_t> samples(16000);
        for (size_t i = 0; i < samples.size(); ++i)
            samples[i] =
                static_cast<int16_t>(8000 * std::sin(2 * M_PI * hertz * static_cast<double>(i) / 16000));
        return running.transcribe(samples, &cancel);
    }

    /// Returns how many requests the stand-in in this folder has had.
    static auto requestsTo(const std::string& folder) {
        const std::string bytes = contentOf(joinPath(folder, "requests.jsonl"));
        return std::count(bytes.begin(), bytes.end(), '\n');
    }

    const std::string asset = platformTexts.speechAsset;
    const std::string model = joinPath(modelsFolder(), "ggml-base.en.bin");
    const std::string log = joinPath(dataFolder(), "velu.log");
    const int32_t port = freePort();
    ReleaseServer releases;
    SpeechEngine engine{Endpoints{releases.server.url(), releases.server.url()}};
    Lines lines;           ///< of progress, of the last start
    Lines problems;        ///< of the last start
    std::string cancelAt;  ///< the line of progress at which the user quits
    std::atomic<bool> cancel = false;
};

TEST_F(SpeechEngineTest, ComesUpFromNothingTranscribesAndStops) {
    placeModel(model + ".part", (1 << 20) - 1000);
    ASSERT_TRUE(start(engine)) << testing::PrintToString(problems);
    EXPECT_EQ(lines, (Lines{"Finding the speech engine...", "Unpacking speech engine...",
                            "Downloading ears... 100%"}));
    const auto requests = releases.server.requests();
    EXPECT_EQ(requests.at(0).path, "/repos/ggml-org/whisper.cpp/releases?per_page=8");
    EXPECT_EQ(requests.at(1).path, "/archive/" + asset);
    EXPECT_EQ(requests.at(2).path, "/ggerganov/whisper.cpp/resolve/main/ggml-base.en.bin");
    const std::string folder = joinPath(speechFolder(), "build/bin");
    EXPECT_EQ(findServerExe(speechFolder(), 0), joinPath(folder, "whisper-server"));
    EXPECT_EQ(contentOf(joinPath(folder, "last-command.json")),
              R"(["-m",")" + model + R"(","--host","127.0.0.1","--port",")" + std::to_string(port) +
                  R"(","-t","4","-ac","768","-l","en"])");
    const int64_t first = engine.process.id();
    ASSERT_TRUE(start(engine));
    EXPECT_EQ(engine.process.id(), first);

    EXPECT_EQ(heard(engine, 400), "Velu, what time is it?");
    EXPECT_EQ(heard(engine, 1600), "") << "music";
    EXPECT_EQ(engine.transcribe(std::vector<int16_t>(3199), &cancel), "") << "too short";
    EXPECT_EQ(requestsTo(folder), 2);
    EXPECT_NE(engine.transcribe(std::vector<int16_t>(3200), &cancel), "");
    engine.stop();
    EXPECT_FALSE(engine.process.isHeld());
    EXPECT_EQ(heard(engine, 400), "");
    EXPECT_EQ(contentOf(log), "") << "not even sent";

    // Two servers on one port share its callers: half of what is said would go to the other.
    const LoopbackServer stranger([](const Received&) { return makeReply(200, "{\"text\":\"no\"}"); });
    engine.port = stranger.port;
    removeFile(joinPath(folder, "last-command.json"));
    placeModel(model, 140566000);
    EXPECT_FALSE(start(engine));
    EXPECT_TRUE(isLogged("stt: port " + std::to_string(stranger.port) + " is taken by another program"));
    EXPECT_FALSE(isFile(joinPath(folder, "last-command.json"))) << "not even launched";
}

TEST_F(SpeechEngineTest, TellsWhyTheProgramCantBeInstalled) {
    const Reply listed = releases.listing({asset});
    const std::tuple<Reply, Reply, Lines> cases[] = {
        {makeReply(403, "rate limit"), {}, {"Couldn't reach GitHub for the speech engine."}},
        {releases.listing({asset + "x"}), {}, {platformTexts.noSpeechBuild}},
        {listed, makeReply(404, "gone"), {"Speech engine download failed."}},
        {listed, makeReply(200, "no archive"), {}},
    };
    for (const auto& [listing, archive, told] : cases) {
        releases.serve(listing, archive);
        EXPECT_FALSE(start(engine));
        EXPECT_EQ(problems, told);
        EXPECT_FALSE(isFile(joinPath(speechFolder(), "engine.zip")));
    }
}

TEST_F(SpeechEngineTest, TheModelIsJudgedBySizeAndTriedThreeTimes) {
    install("");
    EXPECT_TRUE(start(engine));
    engine.stop();
    EXPECT_EQ(releases.server.requests().size(), 0U);
    placeModel(model, 140565999);
    releases.serveModel([](const Received&) { return makeReply(404, "gone"); });
    EXPECT_FALSE(start(engine));
    EXPECT_EQ(releases.server.requests().size(), 3U);
    EXPECT_TRUE(isLogged("whisper model download attempt 2 failed: 404 "));
    EXPECT_EQ(lines, Lines{});
    EXPECT_EQ(problems, Lines{}) << "only the log tells of it";
    releases.serveModel([](const Received&) {
        Reply reply = makeReply(200, "of unknown length");
        reply.framing = Framing::untilClose;
        return reply;
    });
    cancelAt = "Downloading ears... 0%";
    EXPECT_FALSE(start(engine));
    EXPECT_EQ(lines, Lines{cancelAt});
}

TEST_F(SpeechEngineTest, AFailedOrCancelledTranscriptionIsEmpty) {
    const std::pair<const char*, const char*> cases[] = {
        {R"({"status": 500})", "transcribe failed: 500 \n"},
        {R"({"exitAtInference": true})", "transcribe failed: 0 request failed (52)\n"},
        {R"({"body": "no json"})", ""},
    };
    for (const auto& [script, logged] : cases) {
        removeFile(log);
        install(script);
        ASSERT_TRUE(start(engine));
        EXPECT_EQ(heard(engine, 400), "") << script;
        EXPECT_TRUE(contentOf(log).find(logged) != std::string::npos) << script;
        EXPECT_EQ(isFile(log), *logged != '\0');
        engine.stop();
    }
    removeFolder(speechFolder());
    install(R"({"delayMs": 60000})");
    ASSERT_TRUE(start(engine));
    std::thread waitsForTheOther([&] { EXPECT_EQ(heard(engine, 400), ""); });
    std::thread canceller([&] {
        EXPECT_TRUE(soon([] { return requestsTo(speechFolder()) == 1; }));
        cancel = true;
    });
    EXPECT_EQ(heard(engine, 400), "");
    waitsForTheOther.join();
    canceller.join();
    EXPECT_TRUE(isLogged("transcribe failed: 0 cancelled"));
    EXPECT_EQ(requestsTo(speechFolder()), 1);
}

TEST_F(SpeechEngineTest, ACudaBuildOfAnEarlierRunIsUsedUnlessItIsRuledOut) {
    install(R"({"default": " CPU"})");
    const auto heardWith = [&](const char* cudaScript) {
        installFakeSpeechEngine(joinPath(speechCudaFolder(), "bin"), cudaScript);
        EXPECT_TRUE(start(engine));
        const std::string text = heard(engine, 100);
        engine.stop();
        return text;
    };
    EXPECT_EQ(heardWith(R"({"default": " CUDA"})"), "CUDA");
    EXPECT_TRUE(isLogged("stt: using CUDA engine"));
    EXPECT_EQ(heardWith(R"({"exitAtStart": true})"), "CPU");
    EXPECT_TRUE(isLogged("stt: CUDA engine failed to start, using CPU"));
    EXPECT_EQ(contentOf(cudaMarkerFile()), "CUDA whisper-server failed to start\n");
    EXPECT_EQ(heardWith(R"({"default": " CUDA"})"), "CPU") << "while the marker is there";
}

/// A CPU build on disk of a PC with a suitable card.
class CudaUpgrade : public SpeechEngineTest {
protected:
    CudaUpgrade() {
        install(cpu);
        prepare(engine, true);
    }

    static Reply packed(const char* script) { return makeReply(200, whisperArchive(script)); }

    /// Ends the engine; nothing but what is meant to last may be left then.
    void stopAndLookRound(SpeechEngine& running) const {
        const auto begin = std::chrono::steady_clock::now();
        running.stop();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
        EXPECT_FALSE(isFile(joinPath(dataFolder(), "whisper-cuda.zip")));
        EXPECT_FALSE(std::filesystem::exists(speechCudaFolder() + ".tmp"));
        EXPECT_FALSE(running.trialProcess.isHeld());
        EXPECT_FALSE(isPortTaken(port) || isPortTaken(port + 1));
    }

    const char* const cpu = R"({"default": " CPU"})";
    const std::string trial = joinPath(speechCudaFolder(), "build/bin");
    const std::string cudaAsset = "whisper-cublas-12.4.0-bin-x64.tar.gz";
    const Reply listed = releases.listing({"whisper-cublas-11.8.0-bin-x64.tar.gz", cudaAsset});
};

TEST_F(CudaUpgrade, TakesOverBehindTheUsersBack) {
    install(R"({"default": " CPU", "delayMs": 1500})");
    const auto gate = std::make_shared<Gate>();
    Reply archive = packed(R"({"default": " CUDA"})");
    archive.holdHeaders = gate;
    releases.serve(listed, archive);
    ASSERT_TRUE(start(engine));
    std::thread speaker([this] { EXPECT_EQ(heard(engine, 100), "CPU") << "by the server that began it"; });
    EXPECT_TRUE(soon([] { return requestsTo(speechFolder()) == 1; }));
    gate->open();
    speaker.join();
    ASSERT_TRUE(soon([] { return isLogged("stt: switched to CUDA engine"); }));
    EXPECT_TRUE(isLogged("stt: downloading CUDA engine " + releases.server.url("/archive/" + cudaAsset)));
    EXPECT_EQ(heard(engine, 100), "CUDA");
    EXPECT_EQ(requestsTo(trial), 2) << "the trial and ours";
    EXPECT_EQ(engine.port, port + 1);
    EXPECT_FALSE(isPortTaken(port)) << "the old server has ended";
    EXPECT_TRUE(isFile(joinPath(dataFolder(), "whisper-server-gpu.log")));
    EXPECT_FALSE(isFile(cudaMarkerFile()));
    stopAndLookRound(engine);
}

TEST_F(CudaUpgrade, BeginsOnceAndOnlyWhereItMayHelp) {
    releases.serve(makeReply(500, ""), {});
    writeWholeFile(cudaMarkerFile(), "");
    ASSERT_TRUE(start(engine));
    EXPECT_FALSE(engine.upgradeThread.joinable());
    engine.stop();
    removeFile(cudaMarkerFile());
    for (const bool hasCard : {false, true}) {
        SpeechEngine other(engine.endpoints);
        prepare(other, hasCard);
        ASSERT_TRUE(start(other));
        EXPECT_EQ(other.upgradeThread.joinable(), hasCard);
        EXPECT_TRUE(!hasCard || soon([] { return isLogged("stt: CUDA upgrade: GitHub unreachable"); }));
        other.stop();
        ASSERT_TRUE(start(other));
    }
    EXPECT_EQ(releases.server.requests().size(), 1U);
}

TEST_F(CudaUpgrade, AFailureRulesCudaOutAndAStopLeavesNoTrace) {
    Reply held = makeReply(200, "begun");
    held.chunks.push_back({"never", 0, std::make_shared<Gate>()});
    const Reply otherCuda = releases.listing({"whisper-cuda-12.4.0-bin-arm.tar.gz"});
    const char* slow = R"({"delayMs": 60000})";
    const std::string requests = joinPath(trial, "requests.jsonl");
    const std::tuple<Reply, Reply, const char*, std::string, std::string> cases[] = {
        // listing, archive, script of the CPU build, file to stop at, reason in the marker
        {listed, makeReply(404, "gone"), cpu, "", ""},
        {otherCuda, {}, cpu, "", "no CUDA 12 build in recent releases"},
        {listed, makeReply(200, "no archive"), cpu, "", "couldn't unpack the CUDA engine"},
        {listed, makeReply(200, llamaArchive("")), cpu, "", "couldn't unpack the CUDA engine"},
        {listed, packed(R"({"exitAtStart": true})"), cpu, "", "CUDA engine didn't start"},
        {listed, packed(R"({"status": 500})"), cpu, "", "CUDA warm-up transcription failed"},
        {listed, held, cpu, joinPath(dataFolder(), "whisper-cuda.zip"), ""},
        {listed, packed(R"({"neverReady": true})"), cpu, joinPath(trial, "last-command.json"), ""},
        {listed, packed(slow), cpu, requests, ""},
        {listed, packed(""), slow, requests, ""},
    };
    for (const auto& [listing, archive, cpuScript, shown, reason] : cases) {
        SCOPED_TRACE(shown + reason);
        removeFile(cudaMarkerFile());
        removeFolder(speechCudaFolder());
        removeFolder(speechFolder());
        removeFile(log);
        install(cpuScript);
        releases.serve(listing, archive);
        SpeechEngine tried(engine.endpoints);
        prepare(tried, true);
        ASSERT_TRUE(start(tried));
        std::thread speaker([&] { heard(tried, 100); });
        EXPECT_TRUE(soon([] { return requestsTo(speechFolder()) == 1; }));
        const std::string failure = reason.empty() ? "download failed: 404 " : "upgrade failed: " + reason;
        EXPECT_TRUE(soon([&file = shown, line = "stt: CUDA " + failure] {
            return file.empty() ? isLogged(line) : isFile(file);
        }));
        EXPECT_EQ(tried.port, port);
        stopAndLookRound(tried);
        speaker.join();
        EXPECT_EQ(contentOf(cudaMarkerFile()), reason.empty() ? "" : reason + "\n");
        EXPECT_EQ(contentOf(log).find("stt: CUDA") == std::string::npos, !shown.empty());
    }
}

}  // namespace
