// The start and stop of the ears, on their threads.

#include <gtest/gtest.h>

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

    /// The sentences for the user of a start that is over now.
    std::vector<std::string> problems() {
        EXPECT_TRUE(until([this] { return !bringUp.earsStarting; }));
        EXPECT_TRUE(until([] { return true; }));  // what was posted last
        std::vector<std::string> sentences;
        for (const EarsProblem& problem : all<EarsProblem>())
            sentences.push_back(problem.sentence);
        handled.clear();
        return sentences;
    }

    SoundServer sound;
    VoskFolder model;
    BringUp& bringUp = velu.bringUp;
    Ears& ears = velu.ears;
};

TEST_F(EarsWorker, TellsWhatItCannotGetAndTriesAgain) {
    using Strings = std::vector<std::string>;
    bringUp.startEarsWorker();
    EXPECT_EQ(problems(), (Strings{"Couldn't reach GitHub for the speech engine.",
                                   "I couldn't set up my ears (speech recognition). Check your internet "
                                   "connection, then right-click me and choose \"Retry download\"."}));
    EXPECT_TRUE(bringUp.earsFailed);

    install("");
    bringUp.wakeModel = dataFolder();
    bringUp.startEarsWorker();
    EXPECT_EQ(problems(), Strings{"I couldn't load my wake-word model."});
    EXPECT_FALSE(bringUp.earsFailed);
    EXPECT_FALSE(ears.running);

    bringUp.wakeModel = model.model;
    bringUp.startEarsWorker();
    ASSERT_TRUE(until([this] { return !all<EarsReady>().empty(); }));
    EXPECT_EQ(problems(), Strings{});
    EXPECT_TRUE(ears.running);
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
    bringUp.startEarsWorker();
    ASSERT_TRUE(soon([this] { return ears.running.load(); }));
    const auto playing = sound.playToRoom(joined({tone(400, 1), silence(2)}));
    ears.followUpRequested = true;
    ASSERT_TRUE(until([this] { return !all<Utterance>().empty(); }));
    EXPECT_EQ(all<Utterance>()[0].text, "Velu, what time is it?");
    EXPECT_TRUE(all<Utterance>()[0].isFollowUp);
    EXPECT_TRUE(velu.transcriptions.isCurrent(all<Utterance>()[0]));
    velu.transcriptions.forget();
    EXPECT_FALSE(velu.transcriptions.isCurrent(all<Utterance>()[0]));
    velu.transcriptions.reap();

    install(R"({"delayMs": 60000})");
    bringUp.stopEars();
    velu.speech.stop();
    ears.onUtterance(std::vector<int16_t>(16000), false);
    ASSERT_TRUE(until([this] { return all<Utterance>().size() == 2; })) << "without an engine";
    bringUp.startEarsWorker();
    ASSERT_TRUE(soon([this] { return ears.running && velu.speech.ready; }));
    ears.onUtterance(std::vector<int16_t>(16000), false);
    (void)pauseUnlessCancelled(100, nullptr);
    const uint64_t begin = tickCount();
    bringUp.stopEars();
    velu.transcriptions.end();
    velu.transcriptions.join();
    EXPECT_LT(tickCount() - begin, 5000U);  // 100 ms, and whatever a busy machine adds
}

}  // namespace
