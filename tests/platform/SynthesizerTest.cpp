#include "platform/synthesizer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>
#include <utility>

#include "platform/linux/sound/Visemes.h"
#include "support/Soon.h"
#include "support/SoundServer.h"

namespace {

using Kind = SpeechEvent::Kind;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

const std::string sentence = "The quick brown fox jumps over the lazy dog.";

std::string longText(size_t bytes) {
    std::string text;
    while (text.size() < bytes)
        text += sentence + " ";
    return text;
}

/// A synthesizer as the window thread uses it, and all that it told.
struct Speaker {
    explicit Speaker(const SoundServer& server) : server(server) {}

    const SoundServer& server;
    std::atomic<bool> isToldOf = false;
    std::unique_ptr<Synthesizer> voice = Synthesizer::open([this] { isToldOf = true; });
    std::vector<SpeechEvent> events;
    std::vector<size_t> endedAt;  ///< length of the recording at each end, in its stretches

    bool fetch() {
        if (!isToldOf.exchange(false)) return false;
        while (const auto event = voice->nextEvent()) {
            events.push_back(*event);
            if (event->kind == Kind::ended) endedAt.push_back(server.loudness().size());
        }
        return true;
    }

    [[nodiscard]] int64_t count(Kind kind) const {
        return std::count_if(events.begin(), events.end(), [&](auto& event) { return event.kind == kind; });
    }

    bool becomes(Kind kind, int64_t number) {
        return soon([&] { return fetch(), count(kind) >= number; });
    }

    /// How long until so many texts have ended, once they were lost; a test's patience when they don't.
    milliseconds untilEnded(int64_t number) {
        const auto begin = Clock::now();
        EXPECT_TRUE(becomes(Kind::ended, number));
        return std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
    }
};

bool isLoud(double loudness) {
    return loudness > 0.01;
}

size_t loudStretches(const std::vector<double>& loudness) {
    return static_cast<size_t>(std::count_if(loudness.begin(), loudness.end(), isLoud));
}

/// A second for the loss to be noticed, and some for a busy machine.
constexpr milliseconds lossLimit(2500);

TEST(Visemes, TheLongestBeginningOfAMnemonicCounts) {
    struct Case {
        const char* mnemonic;
        std::optional<int32_t> viseme;
    };
    const Case cases[] = {{"_", 0},   {"_:", 0},   {"@", 1},  {"@L", 14}, {"@2", 1},  {"a", 1},
                          {"aI", 11}, {"aI@", 11}, {"aU", 9}, {"A:", 2},  {"O:", 3},  {"OI", 10},
                          {"oU", 8},  {"e@", 4},   {"I2", 6}, {"t#", 19}, {"tS", 16}, {"d", 19},
                          {"dZ", 16}, {"s", 15},   {"p", 21}, {"y", {}},  {"", {}}};
    for (const Case& item : cases)
        EXPECT_EQ(visemeOf(item.mnemonic), item.viseme) << item.mnemonic;
}

// The first: what the synthesiser's library tries of a sound server, it tries once for the process.
TEST(Synthesizer, NeedsNoSoundServerToBegin) {
    SoundServer server;
    server.pause();
    const auto begin = Clock::now();
    Speaker speaker(server);
    EXPECT_LT(Clock::now() - begin, milliseconds(1500));
    ASSERT_TRUE(speaker.voice);
    EXPECT_FALSE(speaker.voice->voices().empty());
    speaker.voice->queue(longText(2000));
    speaker.voice->queue("...");
    EXPECT_LT(speaker.untilEnded(2), lossLimit);
    server.stop();
    speaker.voice->queue(sentence);
    EXPECT_LT(speaker.untilEnded(3), lossLimit);
    EXPECT_EQ(speaker.count(Kind::started), 0);
    server.start();
    speaker.voice->queue("Here.");
    EXPECT_TRUE(speaker.becomes(Kind::ended, 4));
    EXPECT_EQ(speaker.count(Kind::started), 1);
}

TEST(Synthesizer, SpeaksTextsInOrderAndTellsOfThemAsTheyAreHeard) {
    SoundServer server;
    server.record();
    Speaker speaker(server);
    ASSERT_TRUE(speaker.voice);
    speaker.voice->queue("Hello there, my friend.");
    speaker.voice->queue("...");
    speaker.voice->queue(std::string("\xff\xc3 a < b <break/> \x01 9 zero\0 bytes", 33));
    ASSERT_TRUE(speaker.becomes(Kind::ended, 3));

    // Each end comes after that text's sound, and its shapes between its start and its end.
    std::string order;
    for (const SpeechEvent& event : speaker.events) {
        const bool isRepeated = event.kind == Kind::viseme && order.ends_with('v');
        if (!isRepeated) order += "svE"[static_cast<size_t>(event.kind)];
        EXPECT_TRUE(event.viseme >= 0 && event.viseme <= 21) << event.viseme;
    }
    EXPECT_TRUE(order == "svEsvEsvE" || order == "svEvEsvE") << order;

    const size_t end = server.loudness().size();
    ASSERT_TRUE(soon([&] { return server.loudness().size() > end + 30; }));
    const std::vector<double> loudness = server.loudness();
    EXPECT_GT(loudStretches(loudness), 150U);
    EXPECT_EQ(std::count_if(loudness.begin() + static_cast<ptrdiff_t>(end), loudness.end(), isLoud), 0);
    // The first end was told before the third text was heard.
    const auto first = static_cast<ptrdiff_t>(speaker.endedAt.front());
    EXPECT_GT(std::count_if(loudness.begin() + first, loudness.end(), isLoud), 50);
}

TEST(Synthesizer, APurgeIsHeardAtOnceAndLeavesNothing) {
    SoundServer server;
    server.record();
    Speaker speaker(server);
    ASSERT_TRUE(speaker.voice);
    speaker.voice->queue(longText(8192));
    speaker.voice->queue(sentence);
    ASSERT_TRUE(speaker.becomes(Kind::viseme, 5));
    ASSERT_TRUE(soon([&] { return loudStretches(server.loudness()) > 20; }));
    const size_t purgedAt = server.loudness().size();
    speaker.voice->purge();
    speaker.events.clear();
    ASSERT_TRUE(soon([&] { return server.loudness().size() > purgedAt + 150; }));
    speaker.fetch();
    EXPECT_TRUE(speaker.events.empty());
    const std::vector<double> loudness = server.loudness();
    const auto lastLoud = std::find_if(loudness.rbegin(), loudness.rend(), isLoud).base() - loudness.begin();
    // 200 ms, and twice that for a recording that lags behind what is heard.
    EXPECT_LT(lastLoud, static_cast<ptrdiff_t>(purgedAt) + 60);

    speaker.voice->queue("Yes.");
    EXPECT_TRUE(speaker.becomes(Kind::ended, 1));
    EXPECT_EQ(speaker.count(Kind::started), 1);
    EXPECT_EQ(speaker.count(Kind::ended), 1);
}

TEST(Synthesizer, TextsEndWhenTheServerDies) {
    SoundServer server;
    Speaker speaker(server);
    ASSERT_TRUE(speaker.voice);
    speaker.voice->queue(longText(2000));
    speaker.voice->queue(sentence);
    ASSERT_TRUE(speaker.becomes(Kind::started, 1));
    server.stop();
    EXPECT_LT(speaker.untilEnded(2), lossLimit);
    speaker.voice->queue(sentence);
    EXPECT_LT(speaker.untilEnded(3), lossLimit);
    EXPECT_EQ(speaker.count(Kind::started), 1);

    // Longer than any patience: the one that ran out with the dead server once counted against the new one.
    std::this_thread::sleep_for(milliseconds(3500));
    server.start();
    speaker.voice->queue("Back again.");
    EXPECT_TRUE(speaker.becomes(Kind::ended, 4));
    EXPECT_EQ(speaker.count(Kind::started), 2);
    EXPECT_EQ(speaker.count(Kind::ended), 4);
}

TEST(Synthesizer, TextsEndWhenTheServerHangs) {
    SoundServer server;
    Speaker speaker(server);
    ASSERT_TRUE(speaker.voice);
    speaker.voice->queue(sentence);
    speaker.voice->queue(sentence);
    ASSERT_TRUE(speaker.becomes(Kind::started, 1));
    server.pause();
    EXPECT_LT(speaker.untilEnded(2), lossLimit);

    speaker.voice->queue(longText(2000));
    EXPECT_LT(speaker.untilEnded(3), lossLimit);
    server.resume();
    speaker.voice->queue("Back again.");
    ASSERT_TRUE(speaker.becomes(Kind::ended, 4));
    EXPECT_EQ(speaker.count(Kind::started), 2);

    // It hangs again between two texts; nothing waits for it at the end either.
    server.pause();
    speaker.voice->queue(sentence);
    EXPECT_LT(speaker.untilEnded(5), lossLimit);
    speaker.voice->queue(sentence);
    const auto begin = Clock::now();
    speaker.voice.reset();
    EXPECT_LT(Clock::now() - begin, milliseconds(1500));
    server.resume();  // a stopped process doesn't end when it is told to
}

TEST(Synthesizer, SpeaksWithTheVoiceThatWasChosenUntilNoneIs) {
    SoundServer server;
    Speaker speaker(server);
    ASSERT_TRUE(speaker.voice);
    const std::vector<std::string>& voices = speaker.voice->voices();
    const auto french = std::find(voices.begin(), voices.end(), "French (France)");
    ASSERT_NE(french, voices.end());
    // Where an English voice says "one", with round lips, a French one doesn't.
    speaker.voice->useVoice(french - voices.begin());
    speaker.voice->queue("1");
    ASSERT_TRUE(speaker.becomes(Kind::ended, 1));
    const auto frenchEvents = std::exchange(speaker.events, {});
    speaker.voice->useVoice(std::nullopt);
    speaker.voice->queue("1");
    ASSERT_TRUE(speaker.becomes(Kind::ended, 1));
    const auto rounds = [](const std::vector<SpeechEvent>& events) {
        return std::count_if(events.begin(), events.end(), [](auto& event) { return event.viseme == 7; });
    };
    EXPECT_EQ(rounds(frenchEvents), 0);
    EXPECT_GT(rounds(speaker.events), 0);
}

}  // namespace
