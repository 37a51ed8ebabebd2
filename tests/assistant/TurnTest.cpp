#include "assistant/AssistantFixture.h"

using nlohmann::json;

namespace {

class TurnTest : public AssistantFixture {
protected:
    static json savedMemory() {
        std::string bytes;
        return readWholeFile(joinPath(dataFolder(), "memory.json"), bytes) ? json::parse(bytes)
                                                                           : json("no file");
    }
};

TEST_F(TurnTest, AnswersSentenceBySentenceAndRemembersTheExchange) {
    const std::string face = "\xF0\x9F\x98\x80";
    choices.userName = "Ada";
    choices.place.name = "Dallas, Texas";
    replies = {
        stream(contentEvent("Hello ") + contentEvent("there, Ada. All") + contentEvent(" is well " + face))};
    EXPECT_EQ(ask("How are you?"), "Hello there, Ada. All is well " + face);
    EXPECT_EQ(told, (Lines{"say Hello there, Ada.", "say All is well"}));

    const json sent = request(0);
    ASSERT_EQ(sent["messages"].size(), 2u);
    const json system = {{"role", "system"}, {"content", assistant.buildSystemPrompt()}};
    EXPECT_EQ(sent["messages"][0], system);
    for (const char* part : {"The user's name is Ada.\n", "told you): Dallas, Texas. If"})
        EXPECT_NE(assistant.buildSystemPrompt().find(part), std::string::npos) << part;
    EXPECT_EQ(sent["messages"][1], json({{"role", "user"}, {"content", "How are you?"}}));
    EXPECT_EQ(sent["max_tokens"], 400);
    EXPECT_EQ(savedMemory()["history"],
              json::array({{"How are you?", "Hello there, Ada. All is well " + face}}));
}

TEST_F(TurnTest, TheLastSixExchangesGoAlongAndThirtyAreKept) {
    for (int i = 1; i <= 30; ++i)
        assistant.memory.history.push_back({"q" + std::to_string(i), "a" + std::to_string(i)});
    const std::string reply(699, 'x');
    replies = {stream(contentEvent(reply + "\xC3\xA9 and more"))};
    EXPECT_EQ(ask("bad \xFF bytes"), reply) << "700 bytes, less the character that would be split";
    EXPECT_EQ(told, Lines{"say " + reply + "\xC3\xA9 and more"}) << "all of it was said";
    ASSERT_EQ(messages().size(), 14u);
    EXPECT_EQ(messages()[1], json({{"role", "user"}, {"content", "q25"}}));
    EXPECT_EQ(messages()[12], json({{"role", "assistant"}, {"content", "a30"}}));
    EXPECT_EQ(messages()[13]["content"], "bad \xEF\xBF\xBD bytes");
    const json history = savedMemory()["history"];
    ASSERT_EQ(history.size(), 30u);
    EXPECT_EQ(history[0][0], "q2");
    EXPECT_EQ(history[29], json::array({"bad \xEF\xBF\xBD bytes", reply}));
}

TEST_F(TurnTest, ToolsResultsGoBackToTheModelInOrder) {
    replies = {stream(contentEvent("Let me see.") + callEvent(0, "one", "no_such", "{\"a\":1}") +
                      callEvent(1, "two", "nor_this", "{")),
               stream(contentEvent("There is nothing."))};
    EXPECT_EQ(ask("Well?"), "There is nothing.");
    EXPECT_EQ(told, (Lines{"say Let me see.", "Thinking...", "say There is nothing."}));
    ASSERT_EQ(messages().size(), 5u);
    EXPECT_EQ(messages()[2], json::parse(R"({"role":"assistant","content":"Let me see.","tool_calls":[
        {"id":"one","type":"function","function":{"name":"no_such","arguments":"{\"a\":1}"}},
        {"id":"two","type":"function","function":{"name":"nor_this","arguments":"{}"}}]})"));
    for (const auto& [index, id, name] : {std::tuple{3, "one", "no_such"}, {4, "two", "nor_this"}}) {
        const std::string content = std::string("Error: unknown tool ") + name;
        EXPECT_EQ(messages()[index], json({{"role", "tool"}, {"tool_call_id", id}, {"content", content}}));
    }
    EXPECT_EQ(savedMemory()["history"], json::array({{"Well?", "There is nothing."}}));
}

TEST_F(TurnTest, SixPassesAreTheEndAndTheLastHasNoTools) {
    replies.assign(7, stream(callEvent(0, "", "again", "{}")));
    EXPECT_EQ(ask("Go on"), "");
    EXPECT_EQ(told, Lines(6, "Thinking..."));
    ASSERT_EQ(model.requests().size(), 6u);
    for (size_t pass = 0; pass < 6; ++pass) {
        EXPECT_EQ(request(pass).value("tools", json::array()).size(), pass < 5 ? 8u : 0u) << pass;
        EXPECT_EQ(request(pass).value("tool_choice", "none"), pass < 5 ? "auto" : "none") << pass;
    }
    EXPECT_EQ(savedMemory(), "no file");
}

TEST_F(TurnTest, AFailedRequestIsApologisedForAndForgotten) {
    const std::string apology = "Sorry, my brain hiccuped. Try me again in a moment.";
    replies = {stream(contentEvent("First some words. And") + callEvent(0, "x", "tool", "{}")),
               makeReply(500, "broken")};
    EXPECT_EQ(ask("Hm?"), apology);
    EXPECT_EQ(told, (Lines{"say First some words.", "say And", "Thinking...", "say " + apology}));
    EXPECT_TRUE(assistant.memory.history.empty());
    EXPECT_EQ(savedMemory(), "no file");
    EXPECT_EQ(logged(), (Lines{"tool tool -> 24 chars", "chat failed: HTTP 500"}));
}

TEST_F(TurnTest, ACancelledTurnSaysNothingMoreAndStoresNothing) {
    Reply reply = stream(contentEvent("The first sentence. Half of the sec"));
    reply.chunks.push_back({contentEvent("ond one."), 0, std::make_shared<Gate>()});
    replies = {reply};
    cancelsAtSentence = true;
    EXPECT_EQ(ask("Tell me"), "");
    EXPECT_EQ(told, Lines{"say The first sentence."});
    EXPECT_EQ(savedMemory(), "no file");

    EXPECT_EQ(ask("Again"), "") << "the flag still stands";
    EXPECT_EQ(model.requests().size(), 1u);
}

TEST_F(TurnTest, AnEmptyReplyIsNotStored) {
    replies = {stream("")};
    EXPECT_EQ(ask("Anyone?"), "");
    EXPECT_EQ(told, Lines{});
    EXPECT_EQ(savedMemory(), "no file");
}

TEST_F(TurnTest, TheWarmUpSharesTheBeginningOfATurn) {
    assistant.warmUp(&cancel);
    ask("Hello?");
    EXPECT_EQ(request(0)["max_tokens"], 1);
    EXPECT_EQ(request(0)["tools"], request(1)["tools"]);
    EXPECT_EQ(request(0)["messages"][0], request(1)["messages"][0]);
    EXPECT_EQ(request(0)["messages"][1], json({{"role", "user"}, {"content", "hi"}}));
    EXPECT_EQ(told, Lines{"say Here is what I know."});
}

TEST_F(TurnTest, ClearingAndForgettingLeaveEachOtherAlone) {
    assistant.memory.facts = {"likes tea"};
    assistant.memory.history = {{"q", "a"}};
    assistant.clearConversation();
    EXPECT_EQ(savedMemory(), json::parse(R"({"facts":["likes tea"],"history":[]})"));
    assistant.memory.history = {{"q", "a"}};
    assistant.forgetEverything();
    EXPECT_EQ(savedMemory(), json::parse(R"({"facts":[],"history":[["q","a"]]})"));
    const Assistant next(brain);
    EXPECT_EQ(next.memory.history.at(0).reply, "a") << "the next start remembers it";
}

}  // namespace
