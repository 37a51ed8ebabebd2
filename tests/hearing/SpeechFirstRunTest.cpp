// The first start on an empty data folder, and what can go wrong on the way.

#include <filesystem>
#include <mutex>

#include "SpeechFixture.h"
#include "platform/texts.h"
#include "support/LoopbackServer.h"

namespace {

/// The hosts that a first run talks to.
struct Hosts {
    std::string asset(const std::string& name, const std::string& path = "/archive") const {
        return R"({"name":")" + name + R"(","browser_download_url":")" + server.url(path) + R"("})";
    }

    std::string packed = speechArchive("");
    std::string weights = std::string(400000, 'w');
    LoopbackServer::Handler listing = [this](const Received&) {
        const std::string name = platformTexts.speechAsset;
        return makeReply(200, "[{\"assets\":[" + asset("my-" + name, "/no") + "]},{\"assets\":[" +
                                  asset(name + ".sig", "/no") + "," + asset(name) + "]}]");
    };
    LoopbackServer::Handler archive = [this](const Received&) { return makeReply(200, packed); };
    LoopbackServer::Handler model = [this](const Received& received) {
        return rangeReply(weights, received);
    };
    LoopbackServer server = LoopbackServer([this](const Received& received) {
        if (received.path.rfind("/repos/", 0) == 0) return listing(received);
        return received.path == "/archive" ? archive(received) : model(received);
    });
};

class SpeechFirstRun : protected Hosts, public SpeechFixture {
protected:
    SpeechFirstRun() : SpeechFixture({server.url(), server.url()}) {}

    static std::string archiveFile() { return joinPath(speechFolder(), "engine.zip"); }
};

TEST_F(SpeechFirstRun, FetchesUnpacksResumesAndTranscribes) {
    int transfers = 0;
    model = [&](const Received& received) {
        Reply reply = rangeReply(weights, received);
        if (++transfers == 1) {
            reply.declaredLength = weights.size();
            reply.chunks = {{weights.substr(0, 150000)}};
            reply.cut = true;
        }
        return reply;
    };
    ASSERT_TRUE(start()) << testing::PrintToString(lines);
    ASSERT_GE(lines.size(), 4U);
    EXPECT_EQ(Lines(lines.begin(), lines.begin() + 2),
              (Lines{"Finding the speech engine...", "Unpacking speech engine..."}));
    for (size_t i = 2; i < lines.size(); ++i)
        EXPECT_EQ(lines[i].rfind("Downloading ears... ", 0), 0U) << lines[i];
    EXPECT_EQ(lines.back().back(), '%');
    EXPECT_TRUE(isLogged("whisper model download attempt 0 failed: 200 read failed"));
    EXPECT_FALSE(isFile(archiveFile()));
    EXPECT_EQ(findServerExe(speechFolder(), 0), joinPath(speechFolder(), "build/bin/whisper-server"));
    EXPECT_TRUE(isFile(joinPath(speechFolder(), "build/bin/libwhisper.so")));
    EXPECT_EQ(fileSize(modelFile()), weights.size());
    EXPECT_EQ(transcribeTone(1000), "Velu.");

    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 4U);
    EXPECT_EQ(requests[0].path, "/repos/ggml-org/whisper.cpp/releases?per_page=8");
    EXPECT_EQ(requests[0].header("Accept"), "application/vnd.github+json");
    EXPECT_EQ(requests[2].path, "/ggerganov/whisper.cpp/resolve/main/ggml-base.en.bin");
    EXPECT_EQ(requests[3].header("Range"), "bytes=150000-");
}

TEST_F(SpeechFirstRun, AnEngineThatCannotBeHadIsTold) {
    const std::string name = platformTexts.speechAsset;
    const auto listed = [](const std::string& assets) {
        return makeReply(200, "[{\"assets\":[" + assets + "]}]");
    };
    const Reply good = listed(asset(name));
    Reply cut = makeReply(200, packed);
    cut.declaredLength = packed.size() + 1000;
    cut.cut = true;
    struct Case {
        Reply listing;
        Reply archive;
        const char* lastLine;  ///< of progress
        const char* problem = nullptr;
    };
    const char* finding = "Finding the speech engine...";
    const char* unreachable = "Couldn't reach GitHub for the speech engine.";
    const char* failed = "Speech engine download failed.";
    const char* unpacking = "Unpacking speech engine...";
    const Case cases[] = {
        {makeReply(403, "rate limit"), {}, finding, unreachable},
        {makeReply(200, "<html>"), {}, finding, platformTexts.noSpeechBuild},
        {makeReply(200, "{}"), {}, finding, platformTexts.noSpeechBuild},
        {listed(asset(name + "x")), {}, finding, platformTexts.noSpeechBuild},
        {good, makeReply(404, "gone"), finding, failed},
        {good, cut, finding, failed},
        {good, makeReply(200, packed.substr(0, packed.size() / 2)), unpacking},
        {good, makeReply(200, "no archive"), unpacking},
    };
    for (const Case& item : cases) {
        listing = [&](const Received&) { return item.listing; };
        archive = [&](const Received&) { return item.archive; };
        EXPECT_FALSE(start());
        EXPECT_EQ(lines.back(), item.lastLine);
        EXPECT_EQ(problems, item.problem == nullptr ? Lines{} : Lines{item.problem});
        EXPECT_FALSE(isFile(archiveFile()));
        EXPECT_EQ(findServerExe(speechFolder(), 0), "") << "looks whole after " << item.lastLine;
    }
    EXPECT_FALSE(isFile(modelFile()));
    archive = [&](const Received&) { return makeReply(200, packed); };
    EXPECT_TRUE(start()) << "nothing that was left is a hindrance";
}

TEST_F(SpeechFirstRun, TheModelIsJudgedBySizeAndAskedForThreeTimes) {
    installFakeSpeechEngine(speechFolder(), "");
    placeModel(modelFile(), 140566000);
    EXPECT_TRUE(start());
    EXPECT_EQ(server.requests().size(), 0U);
    engine.stop();

    placeModel(modelFile(), 140565999);
    model = [](const Received&) { return makeReply(404, "gone"); };
    EXPECT_FALSE(start());
    EXPECT_EQ(server.requests().size(), 3U);
    for (int attempt = 0; attempt < 3; ++attempt)
        EXPECT_TRUE(isLogged("whisper model download attempt " + std::to_string(attempt) + " failed: 404 "));
    EXPECT_EQ(lines, Lines{}) << "only the log tells of it";

    // Without a length the published file's is taken.
    model = [this](const Received&) {
        Reply reply = makeReply(200, std::string(1500000, 'w'));
        reply.framing = Framing::untilClose;
        return reply;
    };
    EXPECT_TRUE(start());
    ASSERT_FALSE(lines.empty());
    EXPECT_TRUE(lines.back() == "Downloading ears... 0%" || lines.back() == "Downloading ears... 1%")
        << lines.back();
}

TEST_F(SpeechFirstRun, IsCancelledAtEachStage) {
    const std::pair<const char*, const char*> cases[] = {
        {"Finding", "Finding the speech engine..."},
        {"Unpacking", "Unpacking speech engine..."},
        {"Downloading ears", "Downloading ears... "},
    };
    for (const auto& [at, lastLine] : cases) {
        cancel = false;
        cancelAt = at;
        EXPECT_FALSE(start()) << at;
        EXPECT_EQ(lines.back().rfind(lastLine, 0), 0U) << at << ": " << lines.back();
        EXPECT_FALSE(engine.ready);
    }
    cancel = false;
    cancelAt.clear();
    EXPECT_TRUE(start()) << testing::PrintToString(lines);
}

}  // namespace
