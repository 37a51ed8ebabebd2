// The start and stop of the ears, on their threads.

#include "foundation/Ticks.h"
#include "support/HeadlessCompanion.h"
#include "support/SoundServer.h"
#include "support/Speech.h"
#include "support/VoskFolder.h"

namespace {

class EarsWorker : public HeadlessCompanion {
protected:
    EarsWorker() {
        bringUp.wakeModel = model.model;
        velu.transcriptions.listen(ears);
    }

    ~EarsWorker() override { shutDownCompanion(velu); }  // while there is a sound server

    static void install(const std::string& script) {
        installFakeSpeechEngine(joinPath(dataFolder(), "whisper"), script);
        placeModel(joinPath(modelsFolder(), "ggml-base.en.bin"), 140566000);
    }

    bool isListening() {
        bringUp.startEarsWorker();
        return until([this] { return ears.running && !bringUp.earsStarting; });
    }

    SoundServer sound;
    VoskFolder model;
    BringUp& bringUp = velu.bringUp;
    Ears& ears = velu.ears;
};

TEST_F(EarsWorker, TellsWhatItCannotGetAndTriesAgain) {
    bringUp.startEarsWorker();
    ASSERT_TRUE(until([this] { return all<EarsProblem>().size() == 2; }));
    EXPECT_EQ(all<EarsProblem>()[0].sentence, "Couldn't reach GitHub for the speech engine.");
    EXPECT_EQ(velu.bubble.text,
              "I couldn't set up my ears (speech recognition). Check your internet connection, then "
              "right-click me and choose \"Retry download\".");
    EXPECT_TRUE(bringUp.earsFailed);

    install("");
    bringUp.wakeModel = dataFolder();
    bringUp.startEarsWorker();
    ASSERT_TRUE(until([this] { return all<EarsProblem>().size() == 3; }));
    EXPECT_EQ(velu.bubble.text, "I couldn't load my wake-word model.");
    EXPECT_FALSE(bringUp.earsFailed || ears.running);

    bringUp.wakeModel = model.model;
    EXPECT_TRUE(isListening());
    EXPECT_TRUE(until([this] { return !all<EarsReady>().empty(); }));
}

TEST_F(EarsWorker, SwitchedOnAndOffTheLastWordCounts) {
    install(R"({"readyAfterMs": 100})");
    for (uint64_t round = 0; round < 12; ++round) {
        settings.micOn = true;
        bringUp.startEarsWorker();
        (void)pauseUnlessCancelled(round * 12, nullptr);
        if (round % 3 == 0) bringUp.restartEars();
        settings.micOn = false;
        bringUp.restartEars();
        EXPECT_FALSE(ears.running);
    }
    bringUp.earsWorker.join();
    EXPECT_FALSE(ears.running || bringUp.earsStarting) << "a cancelled worker has started them";
    settings.micOn = true;
    bringUp.startEarsWorker();
    bringUp.restartEars();
    EXPECT_TRUE(soon([this] { return ears.running && !bringUp.earsStarting; }));
}

TEST_F(EarsWorker, WhatIsSaidArrivesAsTextAndALateTranscriptIsNotWaitedFor) {
    install(R"({"tones": {"400": " Velu, what time is it?"}})");
    ASSERT_TRUE(isListening());
    const auto playing = sound.playToRoom(joined({tone(400, 1), silence(2)}));
    ears.followUpRequested = true;
    ASSERT_TRUE(until([this] { return !all<Utterance>().empty(); }));
    const Utterance heard = all<Utterance>()[0];
    EXPECT_EQ(heard.text, "Velu, what time is it?");
    EXPECT_TRUE(heard.isFollowUp && velu.transcriptions.isCurrent(heard));
    velu.transcriptions.forget();
    EXPECT_FALSE(velu.transcriptions.isCurrent(heard));

    bringUp.stopEars();
    velu.speech.stop();
    install(R"({"delayMs": 60000})");
    ASSERT_TRUE(isListening());
    ears.onUtterance(std::vector<int16_t>(16000), false);
    (void)pauseUnlessCancelled(100, nullptr);
    velu.transcriptions.reap();  // must not wait for it
    const uint64_t begin = tickCount();
    shutDownCompanion(velu);
    EXPECT_LT(tickCount() - begin, 5000U);  // 100 ms, and whatever a busy machine adds
}

}  // namespace
