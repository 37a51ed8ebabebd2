// What the ears make of a stream, chunk by chunk. The wake recogniser is a stand-in that hears what the first
// sample of a chunk tells it to.

#include "hearing/Ears.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <optional>

#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "hearing/WakeWord.h"
#include "support/Soon.h"
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

std::string logText() {
    std::string log;
    EXPECT_TRUE(readWholeFile(joinPath(dataFolder(), "velu.log"), log));
    return log;
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

    void askAgain() { ears.followUpRequested = true; }

    /// The quiet chunks until the capture ends, up to 200.
    int quietUntilTheEnd() {
        for (int count = 1; count <= 200; ++count) {
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
        int16_t threshold;
    };
    // The probe is a chunk of the room, too: with 9 before it there are enough to know the room.
    for (const auto& [room, chunks, threshold] : {Case{0, 8, 650}, Case{0, 9, 450}, Case{200, 45, 550}}) {
        for (const bool isLoud : {false, true}) {
            Ears fresh;
            int utteranceCount = 0;
            fresh.onUtterance = [&](const Sound&, bool) { ++utteranceCount; };
            const auto give = [&](int loudness, int times) {
                for (int i = 0; i < times; ++i)
                    fresh.processChunk(chunk(static_cast<int16_t>(loudness)).data(), 1600);
            };
            give(room, chunks);
            fresh.followUpRequested = true;
            give(threshold + (isLoud ? 1 : 0), 1);
            give(0, 9);
            EXPECT_EQ(utteranceCount, isLoud ? 1 : 0) << room << " " << chunks;
        }
    }
}

TEST_F(EarsTest, AFollowUpEndsByItself) {
    // Nobody speaks.
    askAgain();
    hear(quiet);
    EXPECT_FALSE(ears.followUpRequested);
    EXPECT_TRUE(ears.capturing);
    EXPECT_EQ(quietUntilTheEnd(), 60) << "at 6100 ms";
    EXPECT_TRUE(utterances.at(0).first.empty() && utterances.at(0).second);
    // Too short a noise, and one that is just long enough.
    for (const auto& [loudChunks, samples] : {std::pair{2, 0U}, std::pair{3, 12U * 1600}}) {
        askAgain();
        hear(loud, loudChunks);
        EXPECT_EQ(quietUntilTheEnd(), 9);
        EXPECT_EQ(utterances.back().first.size(), samples);
    }
    // 850 ms of quiet, to the millisecond.
    askAgain();
    hear(loud, 3);
    hear(quiet, 8);
    for (const auto& [ms, isCapturing] : {std::pair{49U, true}, std::pair{1U, false}}) {
        hear(Sound(ms * 16, 20));
        EXPECT_EQ(ears.capturing, isCapturing);
    }
    // A sentence, after some thinking, with the silence around it but without what was before.
    hear(quiet, 20);
    askAgain();
    hear(quiet, 30);
    hear(loud, 3);
    EXPECT_EQ(quietUntilTheEnd(), 9);
    EXPECT_EQ(utterances.back().first.size(), 42U * 1600);
    EXPECT_TRUE(utterances.back().second);
    // Somebody who never stops is cut off, and the rest is lost.
    utterances.clear();
    askAgain();
    hear(loud, 139);
    EXPECT_TRUE(utterances.empty());
    hear(loud, 100);
    ASSERT_EQ(utterances.size(), 1U);
    EXPECT_EQ(utterances[0].first.size(), 14000U * 16);
    EXPECT_EQ(wakes, 0) << "there is no recogniser";
}

TEST_F(EarsWithName, TheNameBeginsACaptureWithWhatCameBefore) {
    hear(quiet, 20);
    hear(chunk(2000), 5);
    hear(chunk(3000, saysName));
    EXPECT_EQ(wakes, 1);
    EXPECT_TRUE(ears.capturing);
    hear(chunk(3000, saidName), 3);  // the recogniser isn't asked in a capture
    EXPECT_EQ(quietUntilTheEnd(), 9);
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
    EXPECT_EQ(quietUntilTheEnd(), 8);
    EXPECT_TRUE(utterances.at(1).first.empty());
}

TEST_F(EarsWithName, WhatIsNoNameOrComesOutOfSilenceWakesNobody) {
    // The name, so many quiet chunks after something loud, and before anything loud at all.
    hear(chunk(20, saysName));
    hear(chunk(20, saidSomething));
    EXPECT_EQ(wakes, 0);
    for (const auto& [quietChunks, expected] : {std::pair{16, 1}, std::pair{17, 0}}) {
        wakes = 0;
        hear(quiet, 100);
        hear(loud);
        hear(quiet, quietChunks);
        hear(chunk(20, saidName));
        EXPECT_EQ(wakes, expected) << quietChunks;
        hear(quiet, 20);
    }
    hear(loud);
    for (const int16_t order : {saidSomething, saysNonsense, saidSomething})
        hear(chunk(3000, order));
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
    EXPECT_EQ(quietUntilTheEnd(), 9);
    EXPECT_EQ(utterances.at(0).first.size(), 14U * 1600) << "of before the mute nothing is left";
    // A request waits until the ears are open again.
    ears.muted = true;
    askAgain();
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
    EXPECT_NE(logText().find("mic level: peak=0 rms=0 noise=60 (muted)\n"), std::string::npos);
    ears.muted = false;
    hear(chunk(-100), 50);
    EXPECT_NE(logText().find("mic level: peak=100 rms=100 noise=100\n"), std::string::npos);

    Ears other;
    other.onProblem = ears.onProblem;
    Sound nearlyNothing = chunk(0);
    nearlyNothing[800] = 1;
    other.processChunk(nearlyNothing.data(), nearlyNothing.size());
    for (int i = 0; i < 100; ++i)
        other.processChunk(chunk(0).data(), 1600);
    EXPECT_EQ(problems.size(), 1U);
}

TEST_F(EarsTest, AnExceptionOfACallbackEndsInALogLine) {
    setenv("PULSE_SERVER", "unix:/nowhere", 1);  // NOLINT(concurrency-mt-unsafe): no other thread runs
    int calls = 0;
    ears.onProblem = [&](const std::string& sentence) {
        EXPECT_EQ(sentence, "I couldn't find a microphone.");
        if (++calls == 1) throw std::runtime_error("the first");
        throw calls;
    };
    for (const std::string line : {"unexpected error: the first\n", "unexpected error\n"}) {
        EXPECT_TRUE(ears.start());
        EXPECT_TRUE(soon([&] { return !ears.running; }));
        EXPECT_NE(logText().find("microphone capture ended by an " + line), std::string::npos);
    }
    ears.stop();
    EXPECT_EQ(calls, 2);
}

TEST(WakeWord, IsFoundAsAWholeWordAndNowhereElse) {
    for (const char* words : {"hey velu", "belu", "[unk] velo", "vellu please"})
        EXPECT_TRUE(heardWakeWord(words)) << words;
    for (const char* words : {"", " ", "velus", "Velu", "the[unk]", "avelu"})
        EXPECT_FALSE(heardWakeWord(words)) << words;
}

}  // namespace
