#include <regex>

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

/// The turns of turns.json, in which "@" stands for the server's address.
TEST_F(TurnTest, EveryWayOfATurnIsSaidShownSentAndStored) {
    const std::string turns = std::regex_replace(readTestData("turns.json"), std::regex("@"), server.url());
    for (const json& turn : json::parse(turns)) {
        SCOPED_TRACE(turn["question"]);
        assistant.clearConversation();
        choices.webResearch = turn["webResearch"];
        std::deque<Reply> next;
        for (const json& reply : turn["replies"]) {
            std::string events;
            for (const std::string text : reply.value("text", json::array()))
                events += contentEvent(text);
            for (const json& call : reply.value("calls", json::array()))
                events += callEvent(call[0] == "two", call[0], call[1], call[2]);
            next.push_back(reply.contains("status") ? makeReply(reply["status"], "") : stream(events));
        }
        willAnswer(std::move(next));
        const size_t requestsBefore = model.requests().size();
        const auto linesBefore = static_cast<std::ptrdiff_t>(logged().size());
        EXPECT_EQ(ask(turn["question"]), turn["reply"]);
        EXPECT_EQ(told, turn["told"]);
        EXPECT_EQ(model.requests().size() - requestsBefore, turn["requests"]);
        json sent = messages();
        EXPECT_EQ(sent[0], json({{"role", "system"}, {"content", assistant.buildSystemPrompt()}}));
        sent.erase(0);
        EXPECT_EQ(sent, turn["messages"]);
        EXPECT_EQ(savedMemory()["history"], turn["history"]);
        const Lines log = logged();
        EXPECT_EQ(Lines(log.begin() + linesBefore, log.end()), turn["log"]);
    }
    EXPECT_EQ(request(0)["max_tokens"], 400);
    choices.userName = "Ada";
    choices.place.name = "Dallas, Texas";
    for (const char* part : {"The user's name is Ada.\n", "told you): Dallas, Texas. If"})
        EXPECT_NE(assistant.buildSystemPrompt().find(part), std::string::npos) << part;
}

TEST_F(TurnTest, TheLastSixExchangesGoAlongAndThirtyAreKept) {
    for (int i = 1; i <= 30; ++i)
        assistant.memory.history.push_back({"q" + std::to_string(i), "a" + std::to_string(i)});
    const std::string reply(699, 'x');
    willAnswer({stream(contentEvent(reply + "\xC3\xA9 and more"))});
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

TEST_F(TurnTest, SixPassesAreTheEndAndTheLastHasNoTools) {
    willAnswer(std::deque<Reply>(7, stream(callEvent(0, "", "again", "{}"))));
    EXPECT_EQ(ask("Go on"), "");
    EXPECT_EQ(told, Lines(6, "Thinking..."));
    ASSERT_EQ(model.requests().size(), 6u);
    for (size_t pass = 0; pass < 6; ++pass) {
        EXPECT_EQ(request(pass).value("tools", json::array()).size(), pass < 5 ? 8u : 0u) << pass;
        EXPECT_EQ(request(pass).value("tool_choice", "none"), pass < 5 ? "auto" : "none") << pass;
    }
    EXPECT_EQ(savedMemory(), "no file");
}

TEST_F(TurnTest, ACancelledTurnSaysNothingMoreAndStoresNothing) {
    Reply reply = stream(contentEvent("The first sentence. Half of the sec"));
    reply.chunks.push_back({contentEvent("ond one."), 0, std::make_shared<Gate>()});
    willAnswer({reply});
    cancelsAtSentence = true;
    EXPECT_EQ(ask("Tell me"), "");
    EXPECT_EQ(told, Lines{"say The first sentence."});
    EXPECT_EQ(savedMemory(), "no file");

    EXPECT_EQ(ask("Again"), "") << "the flag still stands";
    EXPECT_EQ(model.requests().size(), 1u);
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
