// What the ears make of a stream, chunk by chunk. The wake recogniser is a stand-in that hears what the first
// sample of a chunk tells it to.

#include "hearing/Ears.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "hearing/WakeWord.h"
#include "support/VoskFolder.h"

namespace {

constexpr int16_t saysName = 7001;       // as part of a stretch that goes on
constexpr int16_t saidName = 7002;       // and the stretch is over
constexpr int16_t saysNonsense = 7003;   // what isn't JSON
constexpr int16_t saidSomething = 7004;  // and the stretch is over

using Sound = std::vector<int16_t>;

/// 100 ms whose loudness is exactly this; the recogniser finds `order` in front.
Sound chunk(int16_t loudness, std::optional<int16_t> order = {}) {
    Sound samples(1600, loudness);
    if (order) samples.front() = *order;
    return samples;
}

class EarsTest : public testing::Test {
protected:
    EarsTest() {
        ears.onWake = [this] { ++wakes; };
        ears.onUtterance = [this](Sound samples, bool followUp) {
            utterances.emplace_back(std::move(samples), followUp);
        };
        ears.onProblem = [this](const std::string& sentence) { problems.push_back(sentence); };
    }

    void hear(const Sound& samples, int times = 1) {
        for (int i = 0; i < times; ++i)
            ears.processChunk(samples.data(), samples.size());
    }

    /// The quiet chunks until the capture ends, up to `most`.
    int quietUntilTheEnd(int most) {
        for (int count = 1; count <= most; ++count) {
            hear(quiet);
            if (!ears.capturing) return count;
        }
        return 0;
    }

    const Sound quiet = chunk(20);
    const Sound loud = chunk(3000);
    Ears ears;
    int wakes = 0;
    std::vector<std::pair<Sound, bool>> utterances;
    std::vector<std::string> problems;
};

class EarsWithName : public EarsTest {
protected:
    EarsWithName() { EXPECT_TRUE(ears.loadWakeModel(folder.model)); }
    VoskFolder folder;
};

TEST_F(EarsTest, WhatIsLoudDependsOnTheRoom) {
    struct Case {
        int16_t room;
        int chunks;
        int16_t probe;
        bool isLoud;
    };
    // The probe is a chunk of the room, too: with 9 before it there are enough to know the room.
    for (const auto& [room, chunks, probe, isLoud] :
         {Case{0, 8, 650, false}, Case{0, 8, 651, true}, Case{0, 9, 450, false}, Case{0, 9, 451, true},
          Case{200, 45, 550, false}, Case{200, 45, 551, true}}) {
        Ears fresh;
        int utteranceCount = 0;
        fresh.onUtterance = [&](const Sound&, bool) { ++utteranceCount; };
        const auto give = [&](const Sound& samples) { fresh.processChunk(samples.data(), samples.size()); };
        for (int i = 0; i < chunks; ++i)
            give(chunk(room));
        fresh.followUpRequested = true;
        give(chunk(probe));
        for (int i = 0; i < 9; ++i)
            give(chunk(0));
        EXPECT_EQ(utteranceCount, isLoud ? 1 : 0) << room << " " << chunks << " " << probe;
    }
}

TEST_F(EarsTest, AFollowUpEndsByItself) {
    // Nobody speaks.
    ears.followUpRequested = true;
    hear(quiet);
    EXPECT_FALSE(ears.followUpRequested);
    EXPECT_TRUE(ears.capturing);
    EXPECT_EQ(quietUntilTheEnd(200), 60) << "at 6100 ms";
    EXPECT_TRUE(utterances.at(0).first.empty() && utterances.at(0).second);
    // A bang.
    ears.followUpRequested = true;
    hear(loud);
    EXPECT_EQ(quietUntilTheEnd(200), 9);
    EXPECT_TRUE(utterances.at(1).first.empty());
    // A sentence, after some thinking, with the silence around it but without what was before.
    hear(quiet, 20);
    ears.followUpRequested = true;
    hear(quiet, 30);
    hear(loud, 3);
    EXPECT_EQ(quietUntilTheEnd(200), 9);
    EXPECT_EQ(utterances.at(2).first.size(), 42U * 1600);
    EXPECT_TRUE(utterances.at(2).second);
    // Somebody who never stops is cut off, and the rest is lost.
    ears.followUpRequested = true;
    hear(loud, 139);
    EXPECT_EQ(utterances.size(), 3U);
    hear(loud, 100);
    ASSERT_EQ(utterances.size(), 4U);
    EXPECT_EQ(utterances[3].first.size(), 14000U * 16);
    EXPECT_EQ(wakes, 0) << "there is no recogniser";
}

TEST_F(EarsWithName, TheNameBeginsACaptureWithWhatCameBefore) {
    hear(quiet, 20);
    hear(chunk(2000), 5);
    hear(chunk(3000, saysName));
    EXPECT_EQ(wakes, 1);
    EXPECT_TRUE(ears.capturing);
    hear(chunk(3000, saidName), 3);  // the recogniser isn't asked in a capture
    EXPECT_EQ(quietUntilTheEnd(50), 9);
    EXPECT_EQ(wakes, 1);
    ASSERT_EQ(utterances.size(), 1U);
    const auto& [samples, followUp] = utterances[0];
    EXPECT_FALSE(followUp);
    ASSERT_EQ(samples.size(), 24000U + 13 * 1600);
    EXPECT_EQ(samples[24000 - 1600 * 5 - 1], 20);
    EXPECT_EQ(samples[24000 - 1600 * 5], 2000);
    EXPECT_EQ(samples[24000], saysName);
    // The name of a moment ago is forgotten; the next one, as a final result, counts again. So soon behind
    // the last capture there is next to nothing before it: too little to be worth a transcription.
    hear(loud);
    EXPECT_EQ(wakes, 1);
    hear(chunk(20, saidName));
    EXPECT_EQ(wakes, 2);
    EXPECT_EQ(quietUntilTheEnd(50), 8);
    EXPECT_TRUE(utterances.at(1).first.empty());
}

TEST_F(EarsWithName, WhatIsNoNameOrComesOutOfSilenceWakesNobody) {
    // The name, so many quiet chunks after something loud, and before anything loud at all.
    hear(chunk(20, saysName));
    hear(chunk(20, saidSomething));
    EXPECT_EQ(wakes, 0);
    for (const auto& [quietChunks, expected] : {std::pair{16, 1}, std::pair{17, 0}, std::pair{30, 0}}) {
        wakes = 0;
        hear(quiet, 100);
        hear(loud);
        hear(quiet, quietChunks);
        hear(chunk(20, saidName));
        EXPECT_EQ(wakes, expected) << quietChunks;
        hear(quiet, 20);
    }
    hear(loud);
    hear(chunk(3000, saidSomething));
    hear(chunk(3000, saysNonsense));
    hear(chunk(3000, saidSomething));
    EXPECT_FALSE(ears.capturing);
}

TEST_F(EarsWithName, WhileItIsMutedNothingIsHeardOrKept) {
    hear(quiet, 20);
    hear(loud, 3);
    hear(chunk(3000, saysName));
    ASSERT_TRUE(ears.capturing);
    ears.muted = true;
    hear(chunk(3000, saysName), 3);
    EXPECT_FALSE(ears.capturing);
    EXPECT_EQ(wakes, 1);
    EXPECT_TRUE(utterances.empty()) << "thrown away without a word";
    ears.muted = false;
    hear(quiet);
    hear(chunk(20, saidName));  // the last loud chunk was just before the mute
    EXPECT_EQ(wakes, 2);
    hear(loud, 3);
    EXPECT_EQ(quietUntilTheEnd(20), 9);
    EXPECT_EQ(utterances.at(0).first.size(), 14U * 1600) << "of before the mute nothing is left";
    // A request waits until the ears are open again.
    ears.muted = true;
    ears.followUpRequested = true;
    hear(loud, 3);
    EXPECT_FALSE(ears.capturing);
    ears.muted = false;
    hear(quiet);
    EXPECT_TRUE(ears.capturing);
}

TEST_F(EarsTest, TellsOnceThatItIsDeafAndLogsTheLevel) {
    hear(chunk(0), 40);
    EXPECT_TRUE(problems.empty());
    ears.muted = true;
    hear(chunk(0), 60);
    EXPECT_EQ(problems, std::vector<std::string>{"I can't hear anything. Check Windows Settings > Privacy > "
                                                 "Microphone and allow desktop apps."});
    std::string log;
    ASSERT_TRUE(readWholeFile(joinPath(dataFolder(), "velu.log"), log));
    EXPECT_NE(log.find("mic level: peak=0 rms=0 noise=60 (muted)\n"), std::string::npos) << log;
    ears.muted = false;
    hear(chunk(-100), 50);
    ASSERT_TRUE(readWholeFile(joinPath(dataFolder(), "velu.log"), log));
    EXPECT_NE(log.find("mic level: peak=100 rms=100 noise=100\n"), std::string::npos) << log;

    Ears other;
    other.onProblem = ears.onProblem;
    Sound nearlyNothing = chunk(0);
    nearlyNothing[800] = 1;
    other.processChunk(nearlyNothing.data(), nearlyNothing.size());
    for (int i = 0; i < 100; ++i)
        other.processChunk(chunk(0).data(), 1600);
    EXPECT_EQ(problems.size(), 1U);
}

TEST(WakeWord, IsFoundInResultsAndNowhereElse) {
    const std::pair<const char*, bool> cases[] = {{R"({"partial": "hey velu"})", true},
                                                  {R"({"text": "belu"})", true},
                                                  {R"({"text": "[unk] velo"})", true},
                                                  {R"({"partial": "", "text": "velu"})", false},
                                                  {R"({"partial": 1, "text": "vellu"})", true},
                                                  {R"({"partial": "velus"})", false},
                                                  {R"({"text": "Velu"})", false},
                                                  {R"({"text": "the[unk]"})", false},
                                                  {R"(["velu"])", false},
                                                  {R"("velu")", false},
                                                  {"", false},
                                                  {R"({"partial": "velu")", false}};
    for (const auto& [json, expected] : cases)
        EXPECT_EQ(heardWakeWord(json), expected) << json;
}

}  // namespace
