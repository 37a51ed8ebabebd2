// The speech engine from an empty data folder to its end, and the CUDA upgrade beside it.

#include "hearing/SpeechEngine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <thread>

#include "engines/EngineFolders.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "hearing/SpeechEngineBuilds.h"
#include "platform/texts.h"
#include "support/ArchiveFile.h"
#include "support/EngineFolder.h"
#include "support/ReleaseServer.h"
#include "support/Soon.h"
#include "support/TemporaryFolder.h"

using nlohmann::json;

namespace {

using Lines = std::vector<std::string>;

const std::vector<int16_t> second(16000);

std::vector<int16_t> tone(double hertz) {
    std::vector<int16_t> samples(second.size());
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<int16_t>(8000 * std::sin(2 * M_PI * hertz * static_cast<double>(i) / 16000));
    return samples;
}

class SpeechEngineTest : public testing::Test {
protected:
    SpeechEngineTest() {
        releases.serve(releases.listing({"my-" + asset, asset + ".sig", asset}),
                       makeReply(200, whisperArchive("")));
        prepare(engine);
    }

    /// Gives an engine its port, and a PC with a suitable card or without.
    void prepare(SpeechEngine& other, bool hasCard = false) const {
        other.port = port;
        other.downloadPauseMs = 1;
        other.probeCuda = [hasCard] { return hasCard; };
    }

    /// Puts all on disk that the CPU build needs.
    static void install(const std::string& script) {
        placeModel(modelFile(), 140566000);
        installFakeSpeechEngine(speechFolder(), script);
    }

    bool start(SpeechEngine& other) {
        lines.clear();
        problems.clear();
        return other.start(
            [this](const std::string& line) {
                lines.push_back(line);
                if (line.rfind(cancelAt, 0) == 0) cancel = true;
            },
            [this](const std::string& line) { problems.push_back(line); }, &cancel);
    }
    bool start() { return start(engine); }

    std::string heard(double hertz) { return engine.transcribe(tone(hertz), &cancel); }

    /// Returns how many requests the stand-in in this folder has had.
    static auto requestsTo(const std::string& folder) {
        const std::string bytes = contentOf(joinPath(folder, "requests.jsonl"));
        return std::count(bytes.begin(), bytes.end(), '\n');
    }

    static std::string modelFile() { return joinPath(modelsFolder(), "ggml-base.en.bin"); }

    const std::string asset = platformTexts.speechAsset;
    const int32_t port = freePort();
    ReleaseServer releases;
    SpeechEngine engine{Endpoints{releases.server.url(), releases.server.url()}};
    Lines lines;     ///< of progress, of the last start
    Lines problems;  ///< of the last start
    std::string cancelAt = "never";
    std::atomic<bool> cancel = false;
};

TEST_F(SpeechEngineTest, ComesUpFromNothingTranscribesAndStops) {
    ASSERT_TRUE(start()) << testing::PrintToString(problems);
    EXPECT_EQ(Lines(lines.begin(), lines.begin() + 2),
              (Lines{"Finding the speech engine...", "Unpacking speech engine..."}));
    EXPECT_EQ(lines.back().rfind("Downloading ears... ", 0), 0U);
    const auto requests = releases.server.requests();
    EXPECT_EQ(requests.at(0).path, "/repos/ggml-org/whisper.cpp/releases?per_page=8");
    EXPECT_EQ(requests.at(1).path, "/archive/" + asset);
    EXPECT_EQ(requests.at(2).path, "/ggerganov/whisper.cpp/resolve/main/ggml-base.en.bin");
    const std::string folder = joinPath(speechFolder(), "build/bin");
    EXPECT_EQ(findServerExe(speechFolder(), 0), joinPath(folder, "whisper-server"));
    EXPECT_EQ(json::parse(contentOf(joinPath(folder, "last-command.json"))),
              json({"-m", modelFile(), "--host", "127.0.0.1", "--port", std::to_string(port), "-t", "4",
                    "-ac", "768", "-l", "en"}));
    const int64_t first = engine.process.id();
    ASSERT_TRUE(start());
    EXPECT_EQ(engine.process.id(), first);

    EXPECT_EQ(heard(400), "Velu, what time is it?");
    EXPECT_EQ(heard(1600), "") << "music";
    EXPECT_EQ(requestsTo(folder), 2);
    EXPECT_EQ(engine.transcribe(std::vector<int16_t>(3199), &cancel), "");
    EXPECT_EQ(requestsTo(folder), 2) << "too short";
    EXPECT_NE(engine.transcribe(std::vector<int16_t>(3200), &cancel), "");
    EXPECT_EQ(requestsTo(folder), 3);
    engine.stop();
    EXPECT_FALSE(engine.process.isHeld());
    EXPECT_FALSE(isPortTaken(port));
    EXPECT_EQ(heard(400), "");
    EXPECT_FALSE(isLogged("transcribe failed: 0 request failed (7)")) << "not even sent";
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
        EXPECT_FALSE(start());
        EXPECT_EQ(problems, told);
        EXPECT_FALSE(isFile(joinPath(speechFolder(), "engine.zip")));
    }
    EXPECT_FALSE(isFile(modelFile()));
}

TEST_F(SpeechEngineTest, TheModelIsJudgedBySizeAndTriedThreeTimes) {
    install("");
    EXPECT_TRUE(start());
    EXPECT_EQ(releases.server.requests().size(), 0U);
    engine.stop();
    placeModel(modelFile(), 140565999);
    releases.serveModel([](const Received&) { return makeReply(404, "gone"); });
    EXPECT_FALSE(start());
    EXPECT_EQ(releases.server.requests().size(), 3U);
    EXPECT_TRUE(isLogged("whisper model download attempt 2 failed: 404 "));
    EXPECT_EQ(lines, Lines{});
    EXPECT_EQ(problems, Lines{}) << "only the log tells of it";
    releases.serveModel([](const Received&) {
        Reply reply = makeReply(200, std::string(1500000, 'w'));  // 1 % of the published file
        reply.framing = Framing::untilClose;
        return reply;
    });
    cancelAt = "Downloading ears... 0%";
    EXPECT_FALSE(start());
    cancel = false;
    cancelAt = "never";
    EXPECT_TRUE(start());
}

TEST_F(SpeechEngineTest, AStrangerOnThePortIsAFailedStart) {
    install("");
    {
        // Two servers on one port share its callers: half of what is said would go to the other.
        const LoopbackServer stranger([](const Received&) { return makeReply(200, "{\"text\":\"no\"}"); });
        engine.port = stranger.port;
        EXPECT_FALSE(start());
        EXPECT_TRUE(isLogged("stt: port " + std::to_string(stranger.port) + " is taken by another program"));
    }
    engine.port = port;
    EXPECT_TRUE(start());
}

TEST_F(SpeechEngineTest, AFailedOrCancelledTranscriptionIsEmpty) {
    const std::pair<const char*, const char*> cases[] = {
        {R"({"status": 500})", "transcribe failed: 500 "},
        {R"({"exitAtInference": true})", "transcribe failed: 0 request failed (52)"},
        {R"({"body": "no json"})", nullptr},
    };
    for (const auto& [script, logged] : cases) {
        removeFile(joinPath(dataFolder(), "velu.log"));
        install(script);
        ASSERT_TRUE(start());
        EXPECT_EQ(heard(400), "") << script;
        EXPECT_TRUE(logged == nullptr || isLogged(logged)) << script;
        EXPECT_EQ(isFile(joinPath(dataFolder(), "velu.log")), logged != nullptr);
        engine.stop();
    }
    removeFolder(speechFolder());
    install(R"({"delayMs": 60000})");
    ASSERT_TRUE(start());
    std::thread waitsForTheOther([&] { EXPECT_EQ(heard(400), ""); });
    std::thread canceller([&] {
        EXPECT_TRUE(soon([] { return requestsTo(speechFolder()) == 1; }));
        cancel = true;
    });
    EXPECT_EQ(heard(400), "");
    waitsForTheOther.join();
    canceller.join();
    EXPECT_TRUE(isLogged("transcribe failed: 0 cancelled"));
    EXPECT_EQ(requestsTo(speechFolder()), 1);
}

TEST_F(SpeechEngineTest, ACudaBuildOfAnEarlierRunIsUsedUnlessItIsRuledOut) {
    install(R"({"default": " CPU"})");
    const std::string cuda = joinPath(speechCudaFolder(), "bin");
    const auto heardWith = [&](const char* cudaScript) {
        installFakeSpeechEngine(cuda, cudaScript);
        EXPECT_TRUE(start());
        const std::string text = heard(100);
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

/// A running CPU build on a PC with a suitable card.
class CudaUpgrade : public SpeechEngineTest {
protected:
    CudaUpgrade() {
        install(cpu);
        releases.serve(listed, makeReply(200, whisperArchive(R"({"default": " CUDA"})")));
        prepare(engine, true);
    }

    /// Ends the engine; nothing but what is meant to last may be left then.
    void stopAndLookRound(SpeechEngine& running) const {
        running.stop();
        EXPECT_FALSE(isFile(joinPath(dataFolder(), "whisper-cuda.zip")));
        EXPECT_FALSE(std::filesystem::exists(speechCudaFolder() + ".tmp"));
        EXPECT_FALSE(running.trialProcess.isHeld());
        EXPECT_FALSE(isPortTaken(port));
        EXPECT_FALSE(isPortTaken(port + 1));
    }

    const char* const cpu = R"({"default": " CPU"})";
    const std::string trial = joinPath(speechCudaFolder(), "build/bin");
    const Reply listed =
        releases.listing({"whisper-cublas-11.8.0-bin-x64.tar.gz", "whisper-cublas-12.4.0-bin-x64.tar.gz"});
};

TEST_F(CudaUpgrade, TakesOverBehindTheUsersBack) {
    install(R"({"default": " CPU", "delayMs": 1500})");
    const auto gate = std::make_shared<Gate>();
    Reply archive = makeReply(200, whisperArchive(R"({"default": " CUDA"})"));
    archive.holdHeaders = gate;
    releases.serve(listed, archive);
    ASSERT_TRUE(start());
    EXPECT_EQ(lines, Lines{});
    std::thread speaker([this] { EXPECT_EQ(heard(100), "CPU") << "finished by the server that began it"; });
    EXPECT_TRUE(soon([] { return requestsTo(speechFolder()) == 1; }));
    gate->open();
    speaker.join();
    ASSERT_TRUE(soon([] { return isLogged("stt: switched to CUDA engine"); }));
    const std::string url = releases.server.url("/archive/whisper-cublas-12.4.0-bin-x64.tar.gz");
    EXPECT_TRUE(isLogged("stt: downloading CUDA engine " + url));
    EXPECT_EQ(heard(100), "CUDA");
    EXPECT_EQ(requestsTo(trial), 2) << "the trial and ours";
    EXPECT_EQ(engine.port, port + 1);
    EXPECT_FALSE(isPortTaken(port)) << "the old server has ended";
    EXPECT_TRUE(isFile(joinPath(dataFolder(), "whisper-server-gpu.log")));
    EXPECT_FALSE(isFile(cudaMarkerFile()));
    stopAndLookRound(engine);
}

TEST_F(CudaUpgrade, BeginsOnceAndOnlyWhereItMayHelp) {
    SpeechEngine withoutCard(engine.endpoints);
    prepare(withoutCard, false);
    ASSERT_TRUE(start(withoutCard));
    withoutCard.stop();
    writeWholeFile(cudaMarkerFile(), "");
    ASSERT_TRUE(start());
    engine.stop();
    EXPECT_EQ(releases.server.requests().size(), 0U);
    removeFile(cudaMarkerFile());
    releases.serve(makeReply(500, ""), {});
    SpeechEngine once(engine.endpoints);
    prepare(once, true);
    for (int run = 0; run < 2; ++run) {
        ASSERT_TRUE(start(once));
        EXPECT_TRUE(soon([] { return isLogged("stt: CUDA upgrade: GitHub unreachable"); }));
        once.stop();
    }
    EXPECT_EQ(releases.server.requests().size(), 1U);
}

TEST_F(CudaUpgrade, AFailureRulesCudaOutUnlessTheNetworkIsToBlame) {
    const auto packed = [](const char* script) { return makeReply(200, whisperArchive(script)); };
    const std::tuple<Reply, Reply, const char*, const char*> cases[] = {
        // listing, archive, end of the log line, reason in the marker
        {makeReply(500, ""), {}, "upgrade: GitHub unreachable", nullptr},
        {listed, makeReply(404, "gone"), "download failed: 404 ", nullptr},
        {releases.listing({"whisper-cuda-12.4.0-bin-arm.tar.gz"}),
         {},
         "",
         "no CUDA 12 build in recent releases"},
        {listed, makeReply(200, "no archive"), "", "couldn't unpack the CUDA engine"},
        {listed, makeReply(200, llamaArchive("")), "", "couldn't unpack the CUDA engine"},
        {listed, packed(R"({"exitAtStart": true})"), "", "CUDA engine didn't start"},
        {listed, packed(R"({"status": 500})"), "", "CUDA warm-up transcription failed"},
    };
    for (const auto& [listing, archive, logged, reason] : cases) {
        removeFile(joinPath(dataFolder(), "velu.log"));
        removeFile(cudaMarkerFile());
        removeFolder(speechCudaFolder());
        releases.serve(listing, archive);
        const std::string line =
            "stt: CUDA " + (reason == nullptr ? logged : std::string("upgrade failed: ") + reason);
        SpeechEngine tried(engine.endpoints);
        prepare(tried, true);
        ASSERT_TRUE(start(tried));
        EXPECT_TRUE(soon([&line] { return isLogged(line); })) << line;
        EXPECT_EQ(tried.transcribe(second, &cancel), "CPU");
        stopAndLookRound(tried);
        EXPECT_EQ(contentOf(cudaMarkerFile()), reason == nullptr ? "" : std::string(reason) + "\n");
    }
}

TEST_F(CudaUpgrade, AStopEndsItAtAnyPointWithoutATrace) {
    const TemporaryFolder folder;
    const std::string large = joinPath(folder.path, "large.tar.gz");
    makeArchive(large, ArchiveKind::tarGz,
                {{ArchiveEntry::file, "build/zeros", std::string(64 << 20, '\0')},
                 {ArchiveEntry::file, "build/script.json", R"({"neverReady": true})"},
                 {ArchiveEntry::file, "build/whisper-server",
                  contentOf(joinPath(speechFolder(), "whisper-server")), 0755}});
    Reply held = makeReply(200, "begun");
    held.chunks.push_back({"never", 0, std::make_shared<Gate>()});
    const auto packed = [](const char* script) { return makeReply(200, whisperArchive(script)); };
    const char* slow = R"({"delayMs": 60000})";
    const std::tuple<Reply, const char*, std::string> cases[] = {
        // archive, script of the CPU build, what shows that the stage is reached
        {held, cpu, joinPath(dataFolder(), "whisper-cuda.zip")},
        {makeReply(200, contentOf(large)), cpu, speechCudaFolder() + ".tmp"},
        {packed(R"({"neverReady": true})"), cpu, joinPath(trial, "last-command.json")},
        {packed(slow), cpu, joinPath(trial, "requests.jsonl")},
        {packed(""), slow, joinPath(trial, "requests.jsonl")},
    };
    for (const auto& [archive, cpuScript, shown] : cases) {
        SCOPED_TRACE(shown);
        removeFolder(speechCudaFolder());
        removeFolder(speechFolder());
        install(cpuScript);
        releases.serve(listed, archive);
        SpeechEngine stopped(engine.endpoints);
        prepare(stopped, true);
        ASSERT_TRUE(start(stopped));
        std::thread speaker([&] { stopped.transcribe(second, &cancel); });
        EXPECT_TRUE(soon([&shown = shown] { return std::filesystem::exists(shown); }));
        EXPECT_TRUE(soon([] { return requestsTo(speechFolder()) == 1; }));
        const auto begin = std::chrono::steady_clock::now();
        stopAndLookRound(stopped);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
        speaker.join();
        EXPECT_FALSE(isFile(cudaMarkerFile()));
        EXPECT_EQ(contentOf(joinPath(dataFolder(), "velu.log")).find("stt: CUDA"), std::string::npos);
    }
}

}  // namespace
