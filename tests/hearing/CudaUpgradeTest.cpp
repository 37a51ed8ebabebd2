#include <chrono>
#include <filesystem>
#include <functional>
#include <mutex>
#include <thread>

#include "SpeechFixture.h"
#include "support/ArchiveFile.h"
#include "support/LoopbackServer.h"
#include "support/Soon.h"
#include "support/TemporaryFolder.h"

namespace {

constexpr const char* cudaAsset = "whisper-cublas-12.4.0-bin-x64.tar.gz";

const StatusFn silent = [](const std::string&) {};

/// The host of the releases.
struct Releases {
    Reply listingOf(const std::string& name) const {
        return makeReply(200, R"([{"assets":[{"name":"whisper-cublas-11.8.0-bin-x64.tar.gz"},{"name":")" +
                                  name + R"(","browser_download_url":")" + server.url("/cuda") + R"("}]}])");
    }

    /// From now on; a request that was broken off may still be on its way through the server.
    void serve(const Reply& newListing, const Reply& newArchive) {
        const std::scoped_lock lock(mutex);
        listing = newListing;
        archive = newArchive;
    }

    std::mutex mutex;
    Reply listing;
    Reply archive;
    LoopbackServer server = LoopbackServer([this](const Received& received) {
        const std::scoped_lock lock(mutex);
        return received.path == "/cuda" ? archive : listing;
    });
};

/// A running build for the processor on a machine with a suitable card.
class CudaUpgrade : protected Releases, public SpeechFixture {
protected:
    CudaUpgrade() : SpeechFixture({server.url(), server.url()}) {
        placeModel(modelFile(), 147964211);
        installCpu(R"({"default": " CPU"})");
        serve(listingOf(cudaAsset), makeReply(200, speechArchive(R"({"default": " CUDA"})")));
        engine.probeCuda = [] { return true; };
    }

    static void installCpu(const std::string& script) { installFakeSpeechEngine(speechFolder(), script); }

    static std::string zip() { return joinPath(dataFolder(), "whisper-cuda.zip"); }
    static std::string temporary() { return speechCudaFolder() + ".tmp"; }
    static std::string trialFile(const std::string& name) {
        return joinPath(speechCudaFolder(), "build/bin/" + name);
    }

    /// Ends the engine; nothing but what is meant to last may be left then.
    void stopAndLookRound(SpeechEngine& running) const {
        const auto begin = std::chrono::steady_clock::now();
        running.stop();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
        EXPECT_FALSE(isFile(zip()));
        EXPECT_FALSE(std::filesystem::exists(temporary()));
        EXPECT_FALSE(running.trialProcess.isHeld());
        EXPECT_FALSE(isPortTaken(port));
        EXPECT_FALSE(isPortTaken(port + 1));
    }

    const int32_t port = engine.port;
};

TEST_F(CudaUpgrade, TakesOverBehindTheUsersBack) {
    installCpu(R"({"default": " CPU", "delayMs": 1500})");
    const auto gate = std::make_shared<Gate>();
    archive.holdHeaders = gate;
    ASSERT_TRUE(start());
    EXPECT_EQ(lines, Lines{});
    ASSERT_TRUE(server.waitForRequests(2));
    std::thread speaker([this] { EXPECT_EQ(transcribeTone(100), "CPU") << "finished by who began it"; });
    EXPECT_TRUE(soon([] { return requestsTo(speechFolder()) == 1; }));
    gate->open();
    speaker.join();
    ASSERT_TRUE(soon([&] { return isLogged("stt: switched to CUDA engine"); }));
    EXPECT_TRUE(isLogged("stt: downloading CUDA engine " + server.url("/cuda")));
    EXPECT_EQ(transcribeTone(100), "CUDA");
    EXPECT_EQ(requestsTo(joinPath(speechCudaFolder(), "build/bin")), 2) << "the trial and ours";
    {
        const std::scoped_lock lock(engine.lock);
        EXPECT_EQ(engine.port, port + 1);
    }
    EXPECT_FALSE(isPortTaken(port)) << "the old server is gone";
    EXPECT_TRUE(isFile(joinPath(dataFolder(), "whisper-server-gpu.log")));
    EXPECT_FALSE(isFile(cudaMarkerFile()));
    stopAndLookRound(engine);

    SpeechEngine next({"http://127.0.0.1:1", "http://127.0.0.1:1"});
    next.port = port;
    ASSERT_TRUE(next.start(silent, silent, &cancel));
    EXPECT_TRUE(isLogged("stt: using CUDA engine"));
    EXPECT_FALSE(next.upgradeThread.joinable());
    EXPECT_EQ(next.port, port);
}

TEST_F(CudaUpgrade, IsBegunOnlyWhereItMayHelpAndOnce) {
    engine.probeCuda = [] { return false; };
    ASSERT_TRUE(start());
    engine.stop();
    writeWholeFile(cudaMarkerFile(), "");
    SpeechEngine ruledOut(engine.endpoints);
    ruledOut.port = engine.port;
    ruledOut.probeCuda = [] { return true; };
    ASSERT_TRUE(ruledOut.start(silent, silent, &cancel));
    ruledOut.stop();
    EXPECT_FALSE(isLogged("stt: switched to CUDA engine"));
    EXPECT_EQ(server.requests().size(), 0U);

    removeFile(cudaMarkerFile());
    serve(makeReply(500, ""), {});
    SpeechEngine once(engine.endpoints);
    once.port = engine.port;
    once.probeCuda = [] { return true; };
    for (int run = 0; run < 2; ++run) {
        ASSERT_TRUE(once.start(silent, silent, &cancel));
        EXPECT_TRUE(soon([] { return isLogged("stt: CUDA upgrade: GitHub unreachable"); }));
        once.stop();
    }
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(CudaUpgrade, AFailureRulesCudaOutUnlessTheNetworkIsToBlame) {
    const TemporaryFolder folder;
    const std::string empty = joinPath(folder.path, "empty.tar.gz");
    makeArchive(empty, ArchiveKind::tarGz, {{ArchiveEntry::file, "README", "no program", 0644}});
    const std::string whole = archive.chunks[0].bytes;
    const Reply good = listingOf(cudaAsset);
    Reply cut = archive;
    cut.declaredLength = whole.size() + 1;
    cut.cut = true;
    const auto packed = [](const char* script) { return makeReply(200, speechArchive(script)); };
    struct Case {
        Reply listing;
        Reply archive;
        const char* logged;
        const char* reason;  ///< in the marker
    };
    const char* noBuild = "no CUDA 12 build in recent releases";
    const char* noUnpack = "couldn't unpack the CUDA engine";
    const Case cases[] = {
        {makeReply(500, ""), {}, "upgrade: GitHub unreachable", nullptr},
        {good, makeReply(404, "gone"), "download failed: 404 ", nullptr},
        {good, cut, "download failed: 200 read failed", nullptr},
        {makeReply(200, "{}"), {}, nullptr, noBuild},
        {listingOf("whisper-cuda-12.4.0-bin-arm.tar.gz"), {}, nullptr, noBuild},
        {good, makeReply(200, whole.substr(0, whole.size() / 2)), nullptr, noUnpack},
        {good, makeReply(200, content(empty)), nullptr, noUnpack},
        {good, packed(R"({"exitAtStart": true})"), nullptr, "CUDA engine didn't start"},
        {good, packed(R"({"status": 500})"), nullptr, "CUDA warm-up transcription failed"},
        {good, packed(R"({"exitAtInference": true})"), nullptr, "CUDA warm-up transcription failed"},
    };
    for (const Case& item : cases) {
        removeFile(joinPath(dataFolder(), "velu.log"));
        removeFile(cudaMarkerFile());
        removeFolder(speechCudaFolder());
        serve(item.listing, item.archive);
        const std::string line =
            std::string("stt: CUDA ") +
            (item.reason == nullptr ? item.logged : std::string("upgrade failed: ") + item.reason);
        SpeechEngine tried(engine.endpoints);
        tried.port = engine.port;
        tried.probeCuda = engine.probeCuda;
        ASSERT_TRUE(tried.start(silent, silent, &cancel));
        EXPECT_TRUE(soon([&] { return isLogged(line); })) << line;
        EXPECT_EQ(tried.transcribe(std::vector<int16_t>(16000), &cancel), "CPU");
        EXPECT_EQ(tried.port, engine.port);
        stopAndLookRound(tried);
        EXPECT_EQ(content(cudaMarkerFile()), item.reason == nullptr ? "" : std::string(item.reason) + "\n");
    }
}

TEST_F(CudaUpgrade, AStopBreaksItOffAtAnyPointWithoutATrace) {
    const TemporaryFolder folder;
    const std::string large = joinPath(folder.path, "large.tar.gz");
    makeArchive(large, ArchiveKind::tarGz,
                {{ArchiveEntry::file, "build/zeros", std::string(64 << 20, '\0'), 0644},
                 {ArchiveEntry::file, "build/script.json", R"({"neverReady": true})", 0644},
                 {ArchiveEntry::file, "build/whisper-server",
                  content(joinPath(speechFolder(), "whisper-server")), 0755}});
    Reply held = archive;
    held.chunks = {{archive.chunks[0].bytes.substr(0, 1000)},
                   {archive.chunks[0].bytes.substr(1000), 0, std::make_shared<Gate>()}};
    struct Case {
        const char* stage;
        Reply archive;
        const char* cpuScript;
        std::function<bool()> isReached;
    };
    const char* quick = R"({"default": " CPU"})";
    const Case cases[] = {
        {"download", held, quick, [] { return isFile(zip()); }},
        {"unpack", makeReply(200, content(large)), quick,
         [] { return std::filesystem::exists(temporary()); }},
        {"trial launch", makeReply(200, speechArchive(R"({"neverReady": true})")), quick,
         [] { return isFile(trialFile("last-command.json")); }},
        {"trial transcription", makeReply(200, speechArchive(R"({"delayMs": 60000})")), quick,
         [] { return isFile(trialFile("requests.jsonl")); }},
        {"swap behind a transcription", makeReply(200, speechArchive("")), R"({"delayMs": 60000})",
         [] { return isFile(trialFile("requests.jsonl")); }},
    };
    for (const Case& item : cases) {
        SCOPED_TRACE(item.stage);
        removeFolder(speechCudaFolder());
        removeFolder(speechFolder());
        installCpu(item.cpuScript);
        serve(listing, item.archive);
        SpeechEngine stopped(engine.endpoints);
        stopped.port = engine.port;
        stopped.probeCuda = engine.probeCuda;
        ASSERT_TRUE(stopped.start(silent, silent, &cancel));
        std::thread speaker([&] { stopped.transcribe(std::vector<int16_t>(16000), &cancel); });
        EXPECT_TRUE(soon(item.isReached));
        EXPECT_TRUE(soon([] { return requestsTo(speechFolder()) == 1; }));
        stopAndLookRound(stopped);
        speaker.join();
        EXPECT_FALSE(isFile(cudaMarkerFile()));
        EXPECT_EQ(content(joinPath(dataFolder(), "velu.log")).find("stt: CUDA"), std::string::npos);
    }
}

}  // namespace
