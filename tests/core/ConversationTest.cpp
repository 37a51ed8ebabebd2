// The flow of a conversation without a window: the bubble only keeps its texts, the voice is mute.

#include "core/Conversation.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "foundation/Settings.h"
#include "foundation/Ticks.h"
#include "support/EngineFolder.h"
#include "support/Soon.h"

namespace {

const std::vector<ModelInfo> models = {{"Small model", "small.gguf", "/small.gguf", 1000}};

class ConversationTest : public testing::Test {
protected:
    ConversationTest() {
        placeModel(joinPath(modelsFolder(), models[0].file), models[0].size);
        brain.port = freePort();
        brain.probeGpu = [] { return false; };
        Settings::instance().voiceOn = false;
    }

    /// The members go in an order that ends the threads first.
    ~ConversationTest() override {
        conversation.end();
        bringUp.brainWorker.cancel();
    }

    void install(const std::string& script) const { installFakeEngine(dataFolder(), false, script); }

    /// Handles what was posted until the condition holds.
    template <typename Condition>
    bool until(Condition condition) {
        return soon([&] {
            for (const Message& message : messages.take())
                handle(message);
            return condition();
        });
    }

    void handle(const Message& message) {
        if (message.id == MessageId::WM_APP_SENTENCE) conversation.onSentence(message);
        if (message.id == MessageId::WM_APP_BRAIN_STATUS) conversation.onBrainStatus(message);
        if (message.id == MessageId::WM_APP_BRAIN_READY) conversation.onBrainReady(message);
        if (message.id == MessageId::WM_APP_TURN_DONE) conversation.onTurnDone(message);
        if (message.id == MessageId::WM_APP_WAKE) conversation.onWake();
        if (message.id == MessageId::WM_APP_UTTERANCE) conversation.decideUtterance(message);
        if (message.id == MessageId::WM_APP_EARS_STATUS) conversation.onEarsStatus(message);
    }

    MessageQueue messages;
    Brain brain{{}, models};
    Assistant assistant{brain};
    SpeechEngine speech;
    Ears ears;
    VoiceOut voice;
    Bubble bubble;
    Eyes eyes;
    BringUp bringUp{brain, assistant, speech, ears, eyes, messages};
    Conversation conversation{assistant, bringUp, ears, voice, bubble, messages};
};

TEST_F(ConversationTest, OfManyQuestionsTheLastIsAnsweredAndNothingOfTheOthersIsShown) {
    install(R"({"replies": [{"when": "number 9", "text": "The answer to the last question."}],
                "default": {"text": "An answer to one of the others. It goes on.", "pieceMs": 20}})");
    bringUp.startBrainWorker();
    conversation.startTurn("number 0");  // waits for the engine
    EXPECT_TRUE(bringUp.brainStarting);
    ASSERT_TRUE(until([this] { return !bubble.text.empty(); }));
    EXPECT_TRUE(bringUp.brainReady);
    const uint64_t begin = tickCount();
    for (int number = 1; number <= 9; ++number) {
        conversation.startTurn("number " + std::to_string(number));
        EXPECT_EQ(bubble.text, "");
        std::this_thread::sleep_for(std::chrono::milliseconds(number % 3 * 20));
    }
    EXPECT_LT(tickCount() - begin, 5000U) << "the window stood still";
    std::string seen;
    ASSERT_TRUE(until([&] {
        seen += bubble.text;
        return !conversation.thinking;
    }));
    EXPECT_EQ(bubble.text, "The answer to the last question.");
    EXPECT_EQ(seen.find("others"), std::string::npos) << seen;
}

TEST_F(ConversationTest, ACancelledTurnIsOverAtOnceWhereverItIs) {
    install(
        R"({"loadMs": 60000, "default": {"text": "Slow words, slow words, slow words.", "pieceMs": 1000}})");
    bringUp.startBrainWorker();
    conversation.startTurn("while the engine loads");
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    uint64_t begin = tickCount();
    conversation.end();
    conversation.turnThread.join();
    EXPECT_LT(tickCount() - begin, 5000U);  // 100 ms, and whatever a busy machine adds
    begin = tickCount();
    bringUp.brainWorker.cancel();
    bringUp.brainWorker.join();
    EXPECT_LT(tickCount() - begin, 5000U);
}

TEST_F(ConversationTest, StatusLinesAreShownWhereTheyBelong) {
    const auto status = [this](const std::string& line, uint64_t source) {
        handle({MessageId::WM_APP_BRAIN_STATUS, 0, line, {}, source});
    };
    bringUp.startNumber = bringUp.nextNumber();
    status("Downloading", 1);
    EXPECT_EQ(bubble.text, "Getting my brain ready - one moment...");
    EXPECT_EQ(bubble.status, "Downloading");
    handle({MessageId::WM_APP_BRAIN_READY, 0, {}, {}, 1});
    EXPECT_EQ(bubble.text, "Downloading Right-click me and choose \"Retry download\" to try again.");
    EXPECT_GT(conversation.bubbleHideAt, tickCount() + 19000);

    // Of a start that was replaced nothing counts, but that the engine answers.
    bringUp.startNumber = bringUp.nextNumber();
    bringUp.brainStarting = true;
    status("Late", 1);
    handle({MessageId::WM_APP_BRAIN_READY, 1, {}, {}, 1});
    EXPECT_EQ(bubble.status, "Downloading");
    EXPECT_FALSE(bringUp.brainReady);
    handle({MessageId::WM_APP_BRAIN_READY, 1, {}, {}, 2});
    EXPECT_TRUE(bringUp.brainReady);
    EXPECT_FALSE(bringUp.brainStarting);
    EXPECT_EQ(bubble.status, "");

    // Ready, and no turn: remembered, not shown.
    status("Waking up", 2);
    EXPECT_EQ(bringUp.lastBrainStatus, "Waking up");
    EXPECT_EQ(bubble.status, "");
}

TEST_F(ConversationTest, TheBareNameIsAnsweredAndOpensTheEarsOnceItIsQuiet) {
    handle({MessageId::WM_APP_WAKE});
    EXPECT_EQ(bubble.status, "") << "nobody listens any more";
    ears.capturing = true;
    handle({MessageId::WM_APP_WAKE});
    EXPECT_EQ(bubble.status, "Listening...");
    ears.capturing = false;
    ears.running = true;
    handle({MessageId::WM_APP_UTTERANCE, 2, "Velu."});
    EXPECT_EQ(bubble.text, "Yes?");
    EXPECT_EQ(bubble.status, "") << "while it speaks it is deaf";
    const uint64_t asked = tickCount();
    ASSERT_TRUE(soon([this] {
        conversation.guideEars();
        EXPECT_NE(ears.muted, ears.followUpRequested);
        return ears.followUpRequested.load();
    }));
    EXPECT_GE(tickCount() - asked, 1020U - 50) << "the time of four bytes, and the tail";
    EXPECT_EQ(bubble.status, "Listening...");
    // The microphone is switched off: no request waits for its return.
    conversation.stopListening();
    EXPECT_FALSE(ears.followUpRequested);
    EXPECT_EQ(bubble.status, "");

    install(R"({"default": {"text": "At your service.", "pieceMs": 1}})");
    handle({MessageId::WM_APP_UTTERANCE, 3, "what time is it?", {}, 0, {0, 1, 2}});
    EXPECT_EQ(bubble.status, "Heard: what time is it?");
    EXPECT_TRUE(conversation.thinking);
    // Called and then not understood, it doesn't go on to say that it listens.
    bubble.setStatus("Listening...");
    handle({MessageId::WM_APP_UTTERANCE, 2, "Never mind."});
    EXPECT_EQ(bubble.status, "");
    bubble.setStatus("Heard: what time is it?");
    handle({MessageId::WM_APP_EARS_STATUS, 0, "I can't hear anything."});
    handle({MessageId::WM_APP_UTTERANCE, 0});
    EXPECT_EQ(bubble.status, "Heard: what time is it?") << "a turn isn't disturbed";
    ASSERT_TRUE(until([this] { return !conversation.thinking; }));
    EXPECT_EQ(bubble.text, "At your service.");
}

TEST_F(ConversationTest, TheEarsLinesAreShownWhereTheyBelong) {
    const auto status = [this](const std::string& line, uint64_t source) {
        handle({MessageId::WM_APP_EARS_STATUS, 0, line, {}, source});
    };
    bringUp.earsNumber = bringUp.nextNumber();
    for (const std::string line :
         {"Finding the speech engine...", "Unpacking speech engine...", "Downloading ears... 7%"}) {
        status(line, 1);
        EXPECT_EQ(bubble.text, "Setting up my ears - one moment...");
        EXPECT_EQ(bubble.status, line);
    }
    status("I couldn't load my wake-word model.", 0);
    EXPECT_EQ(bubble.text, "I couldn't load my wake-word model.");
    EXPECT_EQ(bubble.status, "");
    EXPECT_GT(conversation.bubbleHideAt, tickCount() + 8000);
    bringUp.stopEars();
    status("of a start that was replaced", 1);
    bubble.typing = true;
    status("while the user types", bringUp.earsNumber);
    EXPECT_EQ(bubble.text, "I couldn't load my wake-word model.");
}

}  // namespace
