#include "platform/synthesizer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "support/Soon.h"
#include "support/SoundServer.h"
#include "support/Timing.h"

namespace {

using Kind = SpeechEvent::Kind;
using std::chrono::milliseconds;

const std::string sentence = "The quick brown fox jumps over the lazy dog.";

std::string longText(size_t bytes) {
    std::string text;
    while (text.size() < bytes)
        text += sentence + " ";
    return text;
}

bool isLoud(double loudness) {
    return loudness > 0.01;
}

int64_t loudStretches(const std::vector<double>& loudness, size_t from = 0) {
    return std::count_if(loudness.begin() + static_cast<ptrdiff_t>(from), loudness.end(), isLoud);
}

/// A second for the loss to be noticed, and some for a busy machine.
constexpr milliseconds lossLimit(2500);

/// A synthesizer as the window thread uses it, and all that it told.
class Synthesizer : public testing::Test {
protected:
    void open() {
        voice = ::Synthesizer::open([this] {
            isToldOf = true;
            if (throws) throw std::runtime_error("events");
        });
        ASSERT_TRUE(voice);
    }

    void say(const std::string& text) { voice->queue(text); }

    void fetch() {
        if (!isToldOf.exchange(false)) return;
        while (const auto event = voice->nextEvent()) {
            events.push_back(*event);
            if (event->kind == Kind::ended) endedAt.push_back(server.loudness().size());
        }
    }

    [[nodiscard]] int64_t count(Kind kind) const {
        return std::count_if(events.begin(), events.end(), [&](auto& event) { return event.kind == kind; });
    }

    bool becomes(Kind kind, int64_t number) {
        return soon([&] { return fetch(), count(kind) >= number; });
    }

    /// So many texts end soon, once they were lost.
    void expectLost(int64_t number) {
        EXPECT_LT(durationOf([&] { EXPECT_TRUE(becomes(Kind::ended, number)); }), lossLimit);
    }

    /// Three texts are lost: one that is heard, one that waits, and one that comes later.
    void loseTheServer(const std::function<void()>& lose) {
        open();
        say(longText(2000));
        say(sentence);
        ASSERT_TRUE(becomes(Kind::started, 1));
        lose();
        expectLost(2);
        say(longText(2000));
        expectLost(3);
        EXPECT_EQ(count(Kind::started), 1);
    }

    void speakAgain() {
        say("Back again.");
        EXPECT_TRUE(becomes(Kind::ended, 4));
        EXPECT_EQ(count(Kind::started), 2);
        EXPECT_EQ(count(Kind::ended), 4);
    }

    SoundServer server;
    std::atomic<bool> isToldOf = false;
    bool throws = false;  ///< what is called when there are events; the speech goes on all the same
    std::vector<SpeechEvent> events;
    std::vector<size_t> endedAt;  ///< length of the recording at each end, in its stretches
    std::unique_ptr<::Synthesizer> voice;
};

// The first: what the synthesiser's library tries of a sound server, it tries once for the process.
TEST_F(Synthesizer, NeedsNoSoundServerToBegin) {
    server.pause();
    EXPECT_LT(durationOf([&] { open(); }), milliseconds(1500));
    EXPECT_FALSE(voice->voices().empty());
    say(longText(2000));
    say("...");
    expectLost(2);
    EXPECT_EQ(count(Kind::started), 0);
    server.resume();
}

TEST_F(Synthesizer, SpeaksTextsInOrderAndTellsOfThemAsTheyAreHeard) {
    server.record();
    open();
    say("Hello there, my friend.");
    say("...");
    say(std::string("\xff\xc3 a < b <break/> \x01 9 zero\0 bytes", 33));
    ASSERT_TRUE(becomes(Kind::ended, 3));

    // Each end comes after that text's sound, and its shapes between its start and its end.
    std::string order;
    for (const SpeechEvent& event : events) {
        const bool isRepeated = event.kind == Kind::viseme && order.ends_with('v');
        if (!isRepeated) order += "svE"[static_cast<size_t>(event.kind)];
        EXPECT_TRUE(event.viseme >= 0 && event.viseme <= 21) << event.viseme;
    }
    EXPECT_TRUE(order == "svEsvEsvE" || order == "svEvEsvE") << order;

    const size_t end = server.loudness().size();
    ASSERT_TRUE(soon([&] { return server.loudness().size() > end + 30; }));
    const std::vector<double> loudness = server.loudness();
    EXPECT_GT(loudStretches(loudness), 150);
    EXPECT_EQ(loudStretches(loudness, end), 0);
    EXPECT_GT(loudStretches(loudness, endedAt.front()), 50) << "the first end came before the third text";
}

TEST_F(Synthesizer, APurgeIsHeardAtOnceAndLeavesNothing) {
    server.record();
    open();
    say(longText(8192));
    say(sentence);
    ASSERT_TRUE(becomes(Kind::viseme, 5));
    ASSERT_TRUE(soon([&] { return loudStretches(server.loudness()) > 20; }));
    const size_t purgedAt = server.loudness().size();
    voice->purge();
    events.clear();
    ASSERT_TRUE(soon([&] { return server.loudness().size() > purgedAt + 150; }));
    fetch();
    EXPECT_TRUE(events.empty());
    // 200 ms, and twice that for a recording that lags behind what is heard.
    EXPECT_EQ(loudStretches(server.loudness(), purgedAt + 60), 0);

    say("Yes.");
    EXPECT_TRUE(becomes(Kind::ended, 1));
    EXPECT_EQ(count(Kind::started), 1);
    EXPECT_EQ(count(Kind::ended), 1);
}

TEST_F(Synthesizer, TextsEndWhenTheServerDies) {
    loseTheServer([this] { server.stop(); });
    // Longer than any patience: the one that ran out with the dead server once counted against the new one.
    std::this_thread::sleep_for(milliseconds(3500));
    server.start();
    speakAgain();
}

TEST_F(Synthesizer, TextsEndWhenTheServerHangs) {
    loseTheServer([this] { server.pause(); });
    server.resume();
    speakAgain();
    // It hangs again between two texts; nothing waits for it at the end either.
    server.pause();
    say(sentence);
    expectLost(5);
    say(sentence);
    EXPECT_LT(durationOf([&] { voice.reset(); }), milliseconds(1500));
    server.resume();  // a stopped process doesn't end when it is told to
}

TEST_F(Synthesizer, SpeaksWithTheVoiceThatWasChosenUntilNoneIs) {
    throws = true;
    open();
    const std::vector<std::string>& voices = voice->voices();
    const auto french = std::find(voices.begin(), voices.end(), "French (France)");
    ASSERT_NE(french, voices.end());
    // Where an English voice says "one", with round lips, a French one doesn't.
    for (const bool isFrench : {true, false}) {
        events.clear();
        voice->useVoice(isFrench ? std::optional<size_t>(french - voices.begin()) : std::nullopt);
        say("1");
        ASSERT_TRUE(becomes(Kind::ended, 1));
        const auto isRound = [](const SpeechEvent& event) { return event.viseme == 7; };
        EXPECT_EQ(std::any_of(events.begin(), events.end(), isRound), !isFrench);
    }
}

}  // namespace
