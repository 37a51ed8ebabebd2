#include "presence/VoiceOut.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

#include "presence/VoiceChoice.h"
#include "support/Soon.h"
#include "support/SoundServer.h"

namespace {

/// A companion's voice. `pump` fetches the events when there are any.
struct Talker {
    std::atomic<bool> hasEvents = false;
    VoiceOut voice;

    bool init() {
        return voice.init([this] { hasEvents = true; });
    }
    bool pump() {
        if (!hasEvents.exchange(false)) return false;
        voice.pumpEvents();
        return true;
    }
};

TEST(VoiceOut, PicksTheVoiceByItsName) {
    const std::vector<std::string> voices = {"", "Plain", "Big Hazel", "Zira", "Aria One", "Aria Two"};
    const std::pair<const char*, std::optional<size_t>> cases[] = {
        {"Aria", 4}, {"la", 1}, {"aria", {}}, {"Jenny", {}}, {"", 2}};
    for (const auto& [name, pick] : cases)
        EXPECT_EQ(pickVoice(voices, name), pick) << name;
    EXPECT_EQ(pickVoice({"", "Plain"}, ""), std::nullopt);
}

TEST(VoiceOut, CountsWhatIsStillToBeHeard) {
    SoundServer server;
    Talker talker;
    ASSERT_TRUE(talker.init());
    VoiceOut& voice = talker.voice;
    EXPECT_FALSE(voice.listVoices().empty());
    voice.chooseVoice("no such voice");
    for (const char* text : {"*_#``_*", "", "*One* arm.", "...", "## Two_arms."})
        voice.speak(text);
    ASSERT_EQ(voice.pending, 3);
    EXPECT_EQ(voice.startedTick, 0U);
    float widest = 0;  // since the first text ended
    ASSERT_TRUE(soon([&] {
        if (!talker.pump()) return false;
        if (voice.pending < 3) widest = std::max(widest, voice.mouthOpen);
        return voice.pending == 0;
    }));
    EXPECT_GE(widest, 0.5F);
    EXPECT_EQ(voice.mouthOpen, 0);
    EXPECT_GT(voice.startedTick, 0U);

    // The events of stopped texts would count the next one down, which begins with a closed mouth.
    voice.speak("Good morning.");
    ASSERT_TRUE(soon([&] { return talker.pump(), voice.mouthOpen > 0; }));
    ASSERT_TRUE(soon([&] { return talker.hasEvents.load(); }));
    voice.stop();
    EXPECT_EQ(voice.pending, 0);
    EXPECT_EQ(voice.mouthOpen, 0);
    voice.speak("Something else.");
    voice.pumpEvents();
    EXPECT_EQ(voice.pending, 1);
}

TEST(VoiceOut, NothingIsLeftToBeHeardWithoutASoundServerOrAVoice) {
    VoiceOut mute;
    mute.speak("Hello.");
    mute.chooseVoice("Aria");
    mute.stop();
    EXPECT_EQ(mute.pending, 0);

    SoundServer server;
    server.stop();
    Talker talker;
    ASSERT_TRUE(talker.init());
    talker.voice.speak("Nobody hears this.");
    EXPECT_EQ(talker.voice.pending, 1);
    EXPECT_TRUE(soon([&] { return talker.pump(), talker.voice.pending == 0; }));
    talker.voice.speak("The voice that should say this is replaced.");
    ASSERT_TRUE(talker.init());
    EXPECT_EQ(talker.voice.pending, 0);
}

}  // namespace
