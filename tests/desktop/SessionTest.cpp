// The companion typed to, listened to and looked at.

#include <signal.h>

#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <utility>

#include "desktop/Session.h"
#include "foundation/Ticks.h"
#include "support/LoopbackServer.h"

namespace {

using nlohmann::json;

TEST_F(Session, AnswersInTheBubbleAndAloudWithTheJawInStep) {
    settings.userName.set("Ada");
    sound.record();
    start();
    EXPECT_TRUE(velu->bubble.isVisible());
    EXPECT_EQ(velu->bubble.text, "Hi Ada! Click me to chat, or right-click for settings.");
    EXPECT_EQ(velu->voice.pending, 1);
    ASSERT_TRUE(until([this] { return velu->bringUp.brainReady; }));
    velu->conversation.stopSpeaking();
    EXPECT_FALSE(velu->bubble.isVisible());

    const XDesktop::Window mine = desktop.openUserWindow();
    ASSERT_TRUE(until([&] { return desktop.focus() == mine; }));
    ask("story");
    EXPECT_EQ(velu->bubble.status, "Thinking...");
    EXPECT_EQ(velu->bubble.text, "");
    EXPECT_TRUE(until([&] { return desktop.focus() == mine; }));

    const size_t heardBefore = sound.loudness().size();
    std::vector<std::string> texts;
    std::set<HeadState> states;
    bool wasMuted = true;
    float widest = 0;
    ASSERT_TRUE(until([&] {
        if (texts.empty() || texts.back() != velu->bubble.text) texts.push_back(velu->bubble.text);
        states.insert(velu->animator.state);
        widest = std::max(widest, velu->animator.pose.jaw);
        if (velu->voice.pending > 0) wasMuted = wasMuted && velu->conversation.speaking.isMuted(tickCount());
        return isQuiet() && velu->animator.state == HeadState::Idle;
    }));
    // Nothing, then sentence by sentence.
    EXPECT_EQ(texts.front(), "");
    EXPECT_GT(texts.size(), 2U);
    for (size_t i = 1; i < texts.size(); ++i)
        EXPECT_TRUE(texts[i].starts_with(texts[i - 1]) && texts[i].back() == '.') << texts[i];
    EXPECT_EQ(states, (std::set<HeadState>{HeadState::Thinking, HeadState::Speaking, HeadState::Idle}));
    EXPECT_TRUE(wasMuted);
    EXPECT_GT(widest, 3) << "the jaw moves";
    EXPECT_GT(loudTime(heardBefore), 200);
    EXPECT_TRUE(until([this] { return !velu->bubble.isVisible(); }));
    EXPECT_NE(dataText("velu.log").find("turn: question "), std::string::npos);
    EXPECT_EQ(dataText("velu.log").find("none"), std::string::npos) << dataText("velu.log");
}

TEST_F(Session, TheNewestQuestionWins) {
    sound.record();
    startReady();
    ask("story");
    ASSERT_TRUE(until([this] { return velu->voice.pending >= 2; }));
    ask("how");
    const size_t cut = sound.loudness().size();
    EXPECT_LE(velu->voice.pending, 1);
    ASSERT_TRUE(until([this] { return isQuiet() && velu->bubble.text.size() > 20; }));
    EXPECT_EQ(velu->bubble.text, "I am fine, thank you. The sun is shining today.");
    EXPECT_LT(loudTime(cut), 400) << "two short sentences, and nothing of the story";
    EXPECT_NE(dataText("velu.log").find("done never (cut off)"), std::string::npos);

    // The first click of a double click opens the chat box, the second only winks.
    velu->bubble.hide();
    click("--repeat 2 --delay 60 1");
    EXPECT_TRUE(until([this] { return velu->animator.winking; }));
    EXPECT_TRUE(velu->bubble.typing);
    runFor(500);  // an earlier press would be a double click
    click();
    EXPECT_TRUE(until([this] { return !velu->bubble.isVisible(); }));
    // A reminder wakes the head.
    velu->animator.winking = false;
    velu->asleep = true;
    velu->conversation.startTurn("remind me");
    ASSERT_TRUE(until([this] { return shows("Reminder: turn off the oven"); }));
    EXPECT_TRUE(!velu->asleep && velu->animator.winking);
    EXPECT_TRUE(until([this] { return velu->bubble.isVisible() && velu->voice.pending > 0; }));
}

TEST_F(Session, EveryMenuEntryDoesWhatItSays) {
    startReady();
    const auto saved = [] { return json::parse(dataText("settings.json"), nullptr, false); };
    const auto choose = [this](MenuCommand command) { carryOut(*velu, command); };
    choose(MenuCommand::ask);
    EXPECT_TRUE(velu->bubble.typing);
    velu->bubble.hide();
    velu->conversation.say("A long sentence that is being said now.");
    choose(MenuCommand::speakReplies);
    EXPECT_FALSE(settings.voiceOn);
    EXPECT_EQ(velu->voice.pending, 0);
    EXPECT_EQ(saved()["voiceOn"], false);
    choose(MenuCommand::spin);
    EXPECT_EQ(velu->animator.spinLeft, 360);
    choose(MenuCommand::wink);
    EXPECT_TRUE(velu->animator.winking);
    choose(MenuCommand::sleep);
    EXPECT_TRUE(velu->asleep && !velu->bubble.isVisible());
    velu->pass();
    EXPECT_EQ(velu->animator.state, HeadState::Asleep);
    velu->animator.winking = false;
    click();  // wakes it, and opens nothing
    EXPECT_TRUE(until([this] { return !velu->asleep && velu->animator.winking; }));
    EXPECT_FALSE(velu->bubble.typing);
    settings.micOn = true;
    choose(MenuCommand::listen);
    choose(MenuCommand::useCamera);
    EXPECT_EQ(saved()["micOn"], false);
    EXPECT_EQ(saved()["camOn"], true);
    choose(MenuCommand::settings);
    EXPECT_TRUE(velu->settingsWindow.isOpen());
    velu->settingsWindow.close();
    // The real menu, from the head, with the keyboard: its last entry ends the program.
    click("3");
    ASSERT_TRUE(until([this] { return velu->menu->isOpen(); }));
    velu->conversation.say("Something is said while the menu is open.");
    const double before = velu->animator.clock;
    ASSERT_TRUE(until([&] { return velu->animator.clock > before; })) << "the head stands still";
    EXPECT_TRUE(velu->bubble.isVisible() && velu->menu->isOpen());
    desktop.act("key Up Return");
    EXPECT_TRUE(until([this] { return velu->exitCode == 0; }));
}

TEST_F(Session, SavedSettingsTakeEffect) {
    startReady();
    openSettings();
    const int32_t bottom = velu->window->rect().bottom;
    // Turned in the menu meanwhile, and not touched in the window.
    carryOut(*velu, MenuCommand::useCamera);
    // The brain becomes the second one, the size "Large", and it falls silent.
    desktop.act("key A d a Tab Down Tab Down Tab Tab space");
    const Rect form = desktop.rectangle(desktop.findWindow("Velu Settings", getpid()));
    desktop.act("mousemove " + std::to_string(form.left + 256) + " " + std::to_string(form.top + 475) +
                " click --repeat 2 --delay 5 1");
    ASSERT_TRUE(until([this] { return !velu->settingsWindow.isOpen(); }));
    EXPECT_EQ(settings.userName.get(), "Ada");
    EXPECT_TRUE(settings.camOn && settings.sizePx == 320 && !settings.voiceOn);
    EXPECT_TRUE(
        until([&] { return velu->window->rect().height() == 320 && velu->window->rect().bottom == bottom; }));
    EXPECT_TRUE(until([this] { return velu->bringUp.brainReady && velu->brain.runningModel == 1; }));
}

TEST_F(Session, TellsWhyTheEngineDoesNotStartAndTriesAgain) {
    installFakeEngine(dataFolder(), false, R"({"loadMs": 50, "exitWhileLoading": 3})");
    settings.voiceOn = false;
    start();
    ASSERT_TRUE(until([this] { return shows("Retry download"); }));
    EXPECT_EQ(velu->bubble.text,
              "The AI engine stopped unexpectedly (see llama-server.log). Right-click me and choose \"Retry "
              "download\" to try again.");
    EXPECT_TRUE(menuState(*velu).canRetryBrain);
    // A question tries by itself.
    velu->conversation.startTurn("how are you");
    ASSERT_TRUE(until([this] { return !velu->conversation.thinking; }));
    EXPECT_EQ(velu->bubble.text,
              "Sorry, I couldn't get my brain started. Check your internet connection and try again.");
    installFakeEngine(dataFolder(), false, sessionScript);
    carryOut(*velu, MenuCommand::retryDownload);
    EXPECT_EQ(velu->bubble.text, "Trying again - one moment...");
    EXPECT_FALSE(menuState(*velu).canRetryBrain);
    EXPECT_TRUE(until([this] { return velu->bringUp.brainReady; }));
    EXPECT_FALSE(velu->bubble.isVisible());
}

TEST_F(Session, WithoutItsVoiceItTakesTheTimeOfSpeech) {
    settings.voiceOn = false;
    sound.record();
    startReady();
    velu->conversation.startTurn("how are you");
    ASSERT_TRUE(until([this] { return velu->animator.state == HeadState::Speaking; }));
    ASSERT_TRUE(until([this] { return velu->animator.pose.jaw > 3; })) << "the jaw doesn't flap";
    EXPECT_EQ(velu->animator.speechLevel, -1);
    ASSERT_TRUE(until([this] { return !velu->conversation.isSpeaking() && isQuiet(); }));
    EXPECT_TRUE(velu->conversation.speaking.isMuted(tickCount()));
    EXPECT_EQ(loudTime(), 0);
}

TEST_F(Session, EndsInOrderInTheMiddleOfATurnOrADownloadOrAfterAnError) {
    startReady();
    velu->conversation.startTurn("slow");
    ASSERT_TRUE(until([this] { return shows("This answer"); }));
    const auto engine = static_cast<pid_t>(velu->brain.process.id());
    ASSERT_GT(engine, 0);
    uint64_t begin = tickCount();
    const auto brokenLoop = []() -> int { throw std::runtime_error("a frame that can't be drawn"); };
    EXPECT_EQ(runAndShutDown(*velu, brokenLoop), 1);
    EXPECT_LT(tickCount() - begin, 2000U);
    EXPECT_NE(kill(engine, 0), 0);
    EXPECT_NE(dataText("velu.log").find("ended by an unexpected error: a frame that can't be drawn\n"),
              std::string::npos);

    // The second model isn't there, comes slowly, and what has come is kept.
    const std::string path = joinPath(modelsFolder(), models[1].file);
    removeFile(path);
    Reply reply;
    reply.declaredLength = models[1].size;
    reply.chunks = {{std::string(500, 'x')}, {std::string(1500, 'x'), 0, std::make_shared<Gate>()}};
    LoopbackServer host([&reply](const Received&) { return reply; });
    settings.modelIndex = 1;
    makeCompanion(host.url());
    start();
    ASSERT_TRUE(until([this] { return velu->bubble.status.find("Downloading brain (Large)") == 0; }));
    ASSERT_TRUE(until([&] { return fileSize(path + ".part") == 500; }));
    begin = tickCount();
    shutDownCompanion(*velu);
    EXPECT_LT(tickCount() - begin, 2000U);
    EXPECT_EQ(fileSize(path + ".part"), 500U);
}

}  // namespace
