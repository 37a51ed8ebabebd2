#include <chrono>
#include <fstream>
#include <thread>

#include "SpeechFixture.h"
#include "support/LoopbackServer.h"
#include "support/Soon.h"

using nlohmann::json;

namespace {

/// An engine whose build for the processor and model are already on disk.
class SpeechEngineTest : public SpeechFixture {
protected:
    SpeechEngineTest() { placeModel(modelFile(), 140566000); }

    void TearDown() override {
        engine.stop();
        EXPECT_FALSE(isPortTaken(engine.port));
    }

    static void install(const std::string& script) { installFakeSpeechEngine(speechFolder(), script); }

    /// Sets the flag in a moment, and says whether `wait` came back in a time that shows that it saw it.
    template <typename Wait>
    bool endsByCancel(Wait wait) {
        std::thread canceller([this] {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            cancel = true;
        });
        const auto begin = std::chrono::steady_clock::now();
        wait();
        canceller.join();
        return std::chrono::steady_clock::now() - begin < std::chrono::seconds(20);
    }
};

TEST_F(SpeechEngineTest, StartsOnceTranscribesAndStops) {
    install(R"({"readyAfterMs": 300})");
    ASSERT_TRUE(start());
    EXPECT_EQ(lines, Lines{}) << "all is there: not a word";
    EXPECT_EQ(json::parse(content(joinPath(speechFolder(), "last-command.json"))),
              json({"-m", modelFile(), "--host", "127.0.0.1", "--port", std::to_string(engine.port), "-t",
                    "4", "-ac", "768", "-l", "en"}));
    const int64_t first = engine.process.id();
    ASSERT_TRUE(start());
    EXPECT_EQ(engine.process.id(), first);

    EXPECT_EQ(transcribeTone(400), "Velu, what time is it?");
    EXPECT_EQ(transcribeTone(1600), "") << "music";
    EXPECT_EQ(requestsTo(speechFolder()), 2);
    EXPECT_EQ(engine.transcribe(std::vector<int16_t>(3199), &cancel), "");
    EXPECT_EQ(requestsTo(speechFolder()), 2) << "too short to ask";
    EXPECT_NE(engine.transcribe(std::vector<int16_t>(3200), &cancel), "");
    EXPECT_EQ(requestsTo(speechFolder()), 3);
    std::ifstream requests(joinPath(speechFolder(), "requests.jsonl"));
    std::string line;
    std::getline(requests, line);
    EXPECT_EQ(json::parse(line)["fields"]["prompt"], "Velu, what's the weather?");
    EXPECT_EQ(json::parse(line)["seconds"], 1.0);

    engine.stop();
    EXPECT_FALSE(engine.process.isHeld());
    EXPECT_EQ(transcribeTone(400), "");
    EXPECT_FALSE(isLogged("transcribe failed: 0 request failed (7)")) << "not even asked";
    engine.stop();
}

TEST_F(SpeechEngineTest, AStartThatFailsCanBeRepeated) {
    engine.healthTries = 1;
    install(R"({"exitAtStart": true})");
    EXPECT_FALSE(start());
    EXPECT_FALSE(engine.process.isHeld());
    writeWholeFile(joinPath(speechFolder(), "whisper-server"), "not a program");
    EXPECT_FALSE(start());
    install(R"({"neverReady": true})");
    EXPECT_FALSE(start());
    EXPECT_TRUE(engine.process.isHeld()) << "left loading";
    EXPECT_FALSE(engine.ready);

    engine.healthTries = 300;
    install("{}");
    EXPECT_TRUE(start());
    EXPECT_EQ(lines, Lines{});
}

// Two servers on one port share its callers without a word: half of what is said went to the other.
TEST_F(SpeechEngineTest, AStrangerOnThePortIsAFailedStart) {
    install("");
    {
        const LoopbackServer stranger([](const Received&) { return makeReply(200, "{\"text\":\"no\"}"); });
        const int32_t own = std::exchange(engine.port, stranger.port);
        EXPECT_FALSE(start());
        EXPECT_TRUE(isLogged("stt: port " + std::to_string(stranger.port) + " is taken by another program"));
        EXPECT_FALSE(isFile(joinPath(speechFolder(), "last-command.json"))) << "not even launched";
        engine.port = own;
    }
    EXPECT_TRUE(start());
}

TEST_F(SpeechEngineTest, ACancelEndsEveryWait) {
    install(R"({"neverReady": true})");
    EXPECT_TRUE(endsByCancel([&] { EXPECT_FALSE(start()); }));
    cancel = false;
    install(R"({"delayMs": 60000})");
    ASSERT_TRUE(start());
    EXPECT_TRUE(endsByCancel([&] {
        std::thread waitsForItsTurn([&] { EXPECT_EQ(transcribeTone(400), ""); });
        EXPECT_EQ(transcribeTone(400), "");
        waitsForItsTurn.join();
    }));
    EXPECT_TRUE(isLogged("transcribe failed: 0 cancelled"));
    EXPECT_EQ(transcribeTone(400), "") << "no further request behind the cancel";
    EXPECT_EQ(requestsTo(speechFolder()), 1);
}

TEST_F(SpeechEngineTest, AFailedTranscriptionIsEmpty) {
    struct Case {
        const char* script;
        const char* logged;
    };
    const Case cases[] = {
        {R"({"status": 500})", "transcribe failed: 500 "},
        {R"({"exitAtInference": true})", "transcribe failed: 0 request failed (52)"},
        {R"({"body": "no json"})", nullptr},
    };
    for (const Case& item : cases) {
        removeFile(joinPath(dataFolder(), "velu.log"));
        install(item.script);
        ASSERT_TRUE(start());
        EXPECT_EQ(transcribeTone(400), "") << item.script;
        if (item.logged != nullptr)
            EXPECT_TRUE(isLogged(item.logged)) << content(joinPath(dataFolder(), "velu.log"));
        else
            EXPECT_EQ(content(joinPath(dataFolder(), "velu.log")), "");
        engine.stop();
    }
}

TEST_F(SpeechEngineTest, ACudaBuildOfAnEarlierRunIsUsedUnlessItIsRuledOut) {
    const auto heard = [&] {
        EXPECT_TRUE(start());
        const std::string text = transcribeTone(100);
        engine.stop();
        return text;
    };
    install(R"({"default": " CPU"})");
    const std::string cuda = joinPath(speechCudaFolder(), "bin");
    installFakeSpeechEngine(cuda, R"({"default": " CUDA"})");
    EXPECT_EQ(heard(), "CUDA");
    EXPECT_TRUE(isLogged("stt: using CUDA engine"));

    installFakeSpeechEngine(cuda, R"({"exitAtStart": true})");
    EXPECT_EQ(heard(), "CPU");
    EXPECT_TRUE(isLogged("stt: CUDA engine failed to start, using CPU"));
    EXPECT_EQ(content(cudaMarkerFile()), "CUDA whisper-server failed to start\n");

    installFakeSpeechEngine(cuda, R"({"default": " CUDA"})");
    EXPECT_EQ(heard(), "CPU") << "while the marker is there";
    removeFile(cudaMarkerFile());
    EXPECT_EQ(heard(), "CUDA");
}

}  // namespace
