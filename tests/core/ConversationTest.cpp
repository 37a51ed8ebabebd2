#include "core/Conversation.h"

#include <gtest/gtest.h>

#include "core/MenuCommands.h"
#include "foundation/Ticks.h"
#include "support/HeadlessCompanion.h"

namespace {

class ConversationTest : public HeadlessCompanion {
protected:
    static void install(const std::string& script) { installFakeEngine(dataFolder(), false, script); }

    /// Expects that handling a message gives the bubble this time.
    void expectHideIn(uint64_t ms, const Message& message) {
        const uint64_t before = tickCount();
        velu.windowProc(message);
        EXPECT_GE(talk.bubbleHideAt, before + ms);
        EXPECT_LE(talk.bubbleHideAt, tickCount() + ms);
    }

    Conversation& talk = velu.conversation;
    BringUp& bringUp = velu.bringUp;
    Bubble& bubble = velu.bubble;
    Ears& ears = velu.ears;
};

TEST_F(ConversationTest, OfManyQuestionsTheLastIsAnsweredAndNothingOfTheOthersIsShown) {
    install(R"({"replies": [{"when": "number 9", "text": "The answer to the last question."}],
                "default": {"text": "An answer to one of the others. It goes on.", "pieceMs": 20}})");
    bringUp.startBrainWorker();
    talk.startTurn("number 0");  // waits for the engine
    EXPECT_TRUE(bringUp.brainStarting);
    ASSERT_TRUE(until([this] { return !bubble.text.empty(); }));
    EXPECT_TRUE(bringUp.brainReady);
    uint64_t begin = tickCount();
    for (uint64_t number = 1; number <= 9; ++number) {
        talk.startTurn("number " + std::to_string(number));
        EXPECT_EQ(bubble.text, "");
        (void)pauseUnlessCancelled(number % 3 * 20, nullptr);
    }
    EXPECT_LT(tickCount() - begin, 5000U) << "the window stood still";
    std::string seen;
    ASSERT_TRUE(until([&] {
        seen += bubble.text;
        return !talk.thinking;
    }));
    EXPECT_EQ(bubble.text, "The answer to the last question.");
    EXPECT_EQ(seen.find("others"), std::string::npos) << seen;
    expectHideIn(6000, TurnDone{talk.turnNumber});

    // A cancelled turn is over at once, also while the engine loads.
    install(R"({"loadMs": 60000})");
    velu.brain.stop();
    const std::string engineStarted = joinPath(dataFolder(), "llama/last-command.json");
    removeFile(engineStarted);
    bringUp.startBrainWorker();
    talk.startTurn("once more");
    ASSERT_TRUE(until([&] { return isFile(engineStarted); }));
    begin = tickCount();
    shutDownCompanion(velu);
    EXPECT_LT(tickCount() - begin, 5000U);  // 100 ms, and whatever a busy machine adds
}

TEST_F(ConversationTest, StatusLinesAreShownWhereTheyBelong) {
    bringUp.startNumber = bringUp.nextNumber();
    velu.windowProc(BrainReady{1, false});
    EXPECT_EQ(bubble.text,
              "I couldn't start my brain. Right-click me and choose \"Retry download\" to try again.");
    velu.windowProc(BrainStatus{1, "Downloading"});
    EXPECT_EQ(bubble.text, "Getting my brain ready - one moment...");
    EXPECT_EQ(bubble.status, "Downloading");
    expectHideIn(20000, BrainReady{1, false});
    EXPECT_EQ(bubble.text, "Downloading Right-click me and choose \"Retry download\" to try again.");

    // Of a replaced start nothing counts, except that the engine answers.
    bringUp.startNumber = bringUp.nextNumber();
    bringUp.brainStarting = true;
    velu.windowProc(BrainStatus{1, "Late"});
    velu.windowProc(BrainReady{1, true});
    EXPECT_EQ(bubble.status, "Downloading");
    EXPECT_FALSE(bringUp.brainReady);
    velu.windowProc(BrainReady{2, true});
    EXPECT_TRUE(bringUp.brainReady && !bringUp.brainStarting);
    EXPECT_EQ(bubble.status, "");

    velu.windowProc(BrainStatus{2, "Waking up"});
    EXPECT_EQ(bringUp.lastBrainStatus, "Waking up");
    EXPECT_EQ(bubble.status, "") << "without a turn it is remembered, not shown";
}

TEST_F(ConversationTest, TheBareNameIsAnsweredAndOpensTheEarsOnceItIsQuiet) {
    velu.asleep = true;
    velu.windowProc(Wake{});
    EXPECT_FALSE(velu.asleep);
    EXPECT_EQ(bubble.status, "") << "nobody listens any more";
    ears.capturing = true;
    velu.windowProc(Wake{});
    EXPECT_EQ(bubble.status, "Listening...");
    ears.capturing = false;
    ears.running = true;
    expectHideIn(7000 + 4 * 60, Utterance{1, false, "Velu.", {}});
    EXPECT_EQ(bubble.text, "Yes?");
    EXPECT_EQ(bubble.status, "") << "while it speaks it is deaf";
    const uint64_t asked = tickCount();
    ASSERT_TRUE(soon([this] {
        talk.guideEars();
        EXPECT_NE(ears.muted, ears.followUpRequested);
        return ears.followUpRequested.load();
    }));
    EXPECT_GE(tickCount() - asked, 1020U - 50) << "the time of four bytes, and the tail";
    EXPECT_EQ(bubble.status, "Listening...");
    settings.micOn = true;
    carryOut(velu, MenuCommand::listen);  // switches it off
    EXPECT_FALSE(ears.followUpRequested || ears.running || settings.micOn);
    EXPECT_EQ(bubble.status, "");

    install(R"({"default": {"text": "At your service.", "pieceMs": 1}})");
    velu.windowProc(Utterance{1, true, "heard before that", {}});
    EXPECT_FALSE(talk.thinking);
    velu.windowProc(Utterance{2, true, "what time is it?", {0, 1, 2}});
    EXPECT_EQ(bubble.status, "Heard: what time is it?");
    EXPECT_TRUE(talk.thinking);
    velu.windowProc(EarsProblem{0, "I can't hear anything."});
    velu.windowProc(Utterance{2, false, "", {}});
    EXPECT_EQ(bubble.status, "Heard: what time is it?") << "a turn isn't disturbed";
    ears.capturing = true;
    velu.windowProc(Wake{});
    ears.capturing = false;
    velu.windowProc(Utterance{2, false, "Never mind.", {}});
    EXPECT_EQ(bubble.status, "") << "it no longer listens";
    ASSERT_TRUE(until([this] { return !talk.thinking; }));
    EXPECT_EQ(bubble.text, "At your service.");
}

TEST_F(ConversationTest, TheEarsLinesAreShownWhereTheyBelong) {
    bringUp.earsNumber = bringUp.nextNumber();
    velu.windowProc(EarsProgress{1, "Downloading ears... 7%"});
    EXPECT_EQ(bubble.text, "Setting up my ears - one moment...");
    EXPECT_EQ(bubble.status, "Downloading ears... 7%");
    talk.stopListening();
    EXPECT_EQ(bubble.status, "");
    const std::string problem = "I couldn't load my wake-word model.";
    expectHideIn(9000, EarsProblem{0, problem});
    EXPECT_EQ(talk.statementUntil, talk.bubbleHideAt);
    bringUp.stopEars();
    velu.windowProc(EarsProblem{1, "of a start that was replaced"});
    bubble.typing = true;
    velu.windowProc(EarsProblem{bringUp.earsNumber, "while the user types"});
    velu.windowProc(EarsProgress{bringUp.earsNumber, "Downloading"});
    EXPECT_EQ(bubble.text, problem);
}

TEST_F(ConversationTest, ItGreetsAndClosesTheBubbleOnlyWhenItIsFree) {
    for (const char use : {'t', 'b', 'v', 'c', ' '}) {
        talk.thinking = use == 't';
        bubble.typing = use == 'b';
        velu.voice.pending = use == 'v' ? 1 : 0;
        ears.capturing = use == 'c';
        talk.bubbleHideAt = 1;
        talk.closeWhenDue(false);
        EXPECT_EQ(talk.bubbleHideAt, use == ' ' ? 0U : 1U) << use;
        velu.windowProc(Greet{bringUp.eyesNumber, "Ada"});
        EXPECT_EQ(bubble.text, use == 'c' || use == ' ' ? "Hi Ada!" : "") << use;
    }
    talk.stopSpeaking();
    velu.windowProc(Greet{bringUp.eyesNumber + 1, "Bob"});
    velu.asleep = true;
    velu.windowProc(Greet{bringUp.eyesNumber, "Bob"});
    EXPECT_EQ(bubble.text, "Hi Ada!");
}

}  // namespace
