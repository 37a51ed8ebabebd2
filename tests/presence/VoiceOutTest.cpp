#include "presence/VoiceOut.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

#include "presence/VoiceChoice.h"
#include "support/Soon.h"
#include "support/SoundServer.h"

namespace {

/// A companion's voice, with its events pumped when there are any.
struct Talker {
    std::atomic<bool> isToldOf = false;
    VoiceOut voice;

    bool init() {
        return voice.init([this] { isToldOf = true; });
    }
    bool pump() {
        if (!isToldOf.exchange(false)) return false;
        voice.pumpEvents();
        return true;
    }
};

TEST(VoiceOut, PicksTheVoiceByItsName) {
    const std::vector<std::string> voices = {"",         "Plain",   "Big Hazel", "Zira Desktop",
                                             "Aria One", "Aria Two"};
    struct Case {
        const char* name;
        std::optional<size_t> pick;
    };
    const Case cases[] = {{"Aria", 4}, {"Zira Desktop", 3}, {"la", 1}, {"aria", {}}, {"Jenny", {}}, {"", 2}};
    for (const Case& item : cases)
        EXPECT_EQ(pickVoice(voices, item.name), item.pick) << item.name;
    EXPECT_EQ(pickVoice({"", "Plain"}, ""), std::nullopt);
    EXPECT_EQ(pickVoice({}, "Plain"), std::nullopt);
}

TEST(VoiceOut, CountsWhatIsStillToBeHeard) {
    SoundServer server;
    Talker talker;
    ASSERT_TRUE(talker.init());
    VoiceOut& voice = talker.voice;
    EXPECT_FALSE(voice.listVoices().empty());
    voice.chooseVoice("no such voice");
    voice.speak("*_#``_*");
    voice.speak("");
    EXPECT_EQ(voice.pending, 0);

    for (const char* text : {"*One* arm.", "", "...", "## Two_arms."})
        voice.speak(text);
    ASSERT_EQ(voice.pending, 3);
    EXPECT_EQ(voice.startedTick, 0U);
    std::vector<int32_t> counts = {3};
    float widest = 0;
    float widestSince = 0;  // since the first text ended
    ASSERT_TRUE(soon([&] {
        if (!talker.pump()) return false;
        if (voice.pending != counts.back()) counts.push_back(voice.pending);
        widest = std::max(widest, voice.mouthOpen);
        if (voice.pending < 3) widestSince = std::max(widestSince, voice.mouthOpen);
        return voice.pending == 0;
    }));
    EXPECT_EQ(counts.back(), 0);
    EXPECT_GE(counts.size(), 3U);
    EXPECT_GE(widest, 0.5F);
    EXPECT_GT(widestSince, 0);
    EXPECT_EQ(voice.mouthOpen, 0);
    EXPECT_GT(voice.startedTick, 0U);

    // The events of stopped texts would count the next one down.
    voice.speak("Good morning.");
    ASSERT_TRUE(soon([&] { return talker.isToldOf.load(); }));
    voice.stop();
    EXPECT_EQ(voice.pending, 0);
    voice.speak("Something else.");
    voice.pumpEvents();
    EXPECT_EQ(voice.pending, 1);
    EXPECT_EQ(voice.mouthOpen, 0);
}

TEST(VoiceOut, NothingIsLeftToBeHeardWithoutASoundServer) {
    SoundServer server;
    server.stop();
    Talker talker;
    ASSERT_TRUE(talker.init());
    VoiceOut& voice = talker.voice;
    EXPECT_FALSE(voice.listVoices().empty());
    for (const char* text : {"Nobody hears this.", "Nor this."}) {
        voice.speak(text);
        EXPECT_EQ(voice.pending, 1);
        EXPECT_TRUE(soon([&] { return talker.pump(), voice.pending == 0; }));
    }
    voice.speak("The voice that should say this is replaced.");
    ASSERT_TRUE(talker.init());
    EXPECT_EQ(voice.pending, 0);
}

TEST(VoiceOut, IsMuteWithoutAVoice) {
    VoiceOut voice;
    voice.speak("Hello.");
    voice.chooseVoice("Aria");
    voice.stop();
    voice.pumpEvents();
    EXPECT_EQ(voice.pending, 0);
    EXPECT_TRUE(voice.listVoices().empty());
}

}  // namespace
