// The ears' way up and down, on its threads, without a window.

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "core/BringUp.h"
#include "core/Transcriptions.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "foundation/Settings.h"
#include "foundation/Ticks.h"
#include "support/EngineFolder.h"
#include "support/Soon.h"
#include "support/SoundServer.h"
#include "support/Speech.h"
#include "support/VoskFolder.h"

namespace {

class EarsWorker : public testing::Test {
protected:
    EarsWorker() {
        speech.port = freePort();
        speech.probeCuda = [] { return false; };
        bringUp.wakeModel = model.model;
        transcriptions.listen();
    }

    ~EarsWorker() override {
        bringUp.stopEars();
        transcriptions.end();
        bringUp.earsWorker.join();
    }

    static void install(const std::string& script) {
        installFakeSpeechEngine(joinPath(dataFolder(), "whisper"), script);
        placeModel(joinPath(modelsFolder(), "ggml-base.en.bin"), 140566000);
    }

    /// The texts that were posted with this number until the condition holds.
    template <typename Condition>
    std::vector<std::string> texts(MessageId id, Condition condition) {
        std::vector<std::string> found;
        EXPECT_TRUE(soon([&] {
            for (const Message& message : messages.take())
                if (message.id == id) found.push_back(message.text);
            return condition(found);
        }));
        return found;
    }

    SoundServer sound;
    VoskFolder model;
    Endpoints nowhere{"http://127.0.0.1:1", "http://127.0.0.1:1", "", "", "", "", ""};
    MessageQueue messages;
    Brain brain;
    Assistant assistant{brain};
    SpeechEngine speech{nowhere};
    Ears ears;
    Transcriptions transcriptions{ears, speech, messages};
    Eyes eyes;
    BringUp bringUp{brain, assistant, speech, ears, eyes, messages};
};

TEST_F(EarsWorker, TellsWhatItCannotGetAndTriesAgain) {
    const auto isOver = [this](const auto&) { return !bringUp.earsStarting; };
    bringUp.startEarsWorker();
    EXPECT_EQ(texts(MessageId::WM_APP_EARS_STATUS, isOver),
              (std::vector<std::string>{"Finding the speech engine...",
                                        "Couldn't reach GitHub for the speech engine.",
                                        "I couldn't set up my ears (speech recognition). Check your internet "
                                        "connection, then right-click me "
                                        "and choose \"Retry download\"."}));
    EXPECT_TRUE(bringUp.earsFailed);

    install("");
    bringUp.wakeModel = dataFolder();
    bringUp.startEarsWorker();
    EXPECT_FALSE(bringUp.earsFailed);
    EXPECT_EQ(texts(MessageId::WM_APP_EARS_STATUS, isOver),
              std::vector<std::string>{"I couldn't load my wake-word model."});
    EXPECT_FALSE(bringUp.earsFailed);
    EXPECT_FALSE(ears.running);

    bringUp.wakeModel = model.model;
    bringUp.startEarsWorker();
    EXPECT_EQ(texts(MessageId::WM_APP_EARS_STATUS, isOver), std::vector<std::string>{""});
    EXPECT_TRUE(ears.running);
}

TEST_F(EarsWorker, SwitchedOnAndOffTheLastWordCounts) {
    install(R"({"readyAfterMs": 200})");
    const auto pause = [](int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); };
    Settings& settings = Settings::instance();
    for (int round = 0; round < 12; ++round) {
        settings.micOn = true;
        bringUp.startEarsWorker();
        pause(round * 25);
        if (round % 3 == 0) bringUp.restartEars();
        settings.micOn = false;
        bringUp.restartEars();
        EXPECT_FALSE(ears.running);
    }
    pause(300);
    EXPECT_FALSE(ears.running || bringUp.earsStarting) << "a worker that was called off has started them";
    settings.micOn = true;
    bringUp.startEarsWorker();
    bringUp.restartEars();
    EXPECT_TRUE(soon([this] { return ears.running && !bringUp.earsStarting; }));
}

TEST_F(EarsWorker, WhatIsSaidArrivesAsTextAndALateTranscriptIsNotWaitedFor) {
    install(R"({"tones": {"400": " Velu, what time is it?"}})");
    bringUp.startEarsWorker();
    ASSERT_TRUE(soon([this] { return ears.running.load(); }));
    const auto playing = sound.playToRoom(joined({tone(400, 1), silence(3)}));
    ears.followUpRequested = true;
    EXPECT_EQ(texts(MessageId::WM_APP_UTTERANCE, [](const auto& found) { return !found.empty(); }),
              std::vector<std::string>{"Velu, what time is it?"});
    transcriptions.reap();

    installFakeSpeechEngine(joinPath(dataFolder(), "whisper"), R"({"delayMs": 60000})");
    bringUp.stopEars();
    speech.stop();
    bringUp.startEarsWorker();
    ASSERT_TRUE(soon([this] { return ears.running.load(); }));
    ears.followUpRequested = true;
    const auto again = sound.playToRoom(tone(400, 1));
    ASSERT_TRUE(soon([this] { return ears.capturing.load(); }));
    ASSERT_TRUE(soon([this] { return !ears.capturing; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const uint64_t begin = tickCount();
    bringUp.stopEars();
    transcriptions.end();
    transcriptions.join();
    EXPECT_LT(tickCount() - begin, 5000U);  // 100 ms, and whatever a busy machine adds
}

}  // namespace
