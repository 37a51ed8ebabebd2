#include <gtest/gtest.h>

#include <memory>
#include <mutex>

#include "assistant/Assistant.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "foundation/Settings.h"
#include "support/LoopbackServer.h"

using nlohmann::json;

namespace {

using Lines = std::vector<std::string>;

std::string contentEvent(const std::string& text) {
    return "data: " + json({{"choices", {{{"delta", {{"content", text}}}}}}}).dump() + "\n\n";
}

std::string callEvent(int index, const std::string& id, const std::string& name,
                      const std::string& arguments) {
    const json call = {
        {"index", index}, {"id", id}, {"function", {{"name", name}, {"arguments", arguments}}}};
    return "data: " + json({{"choices", {{{"delta", {{"tool_calls", {call}}}}}}}}).dump() + "\n\n";
}

Reply stream(const std::string& events) {
    Reply reply = makeReply(200, events + "data: [DONE]\n\n", "text/event-stream");
    reply.framing = Framing::chunked;
    return reply;
}

/// A server that answers with these replies, and an assistant on top of it.
class TurnTest : public testing::Test {
protected:
    void serve(std::vector<Reply> replies) {
        server = std::make_unique<LoopbackServer>(std::move(replies));
        brain.port = server->port;
    }

    std::string ask(const std::string& question) {
        std::string reply = "left over";
        assistant.turn(
            reply, question,
            [this](const std::string& sentence) {
                said.push_back(sentence);
                if (cancelAtSentence) cancel = true;
            },
            [this](const std::string& line) { activity.push_back(line); }, &cancel);
        return reply;
    }

    json request(size_t index) const {
        return json::parse(server->requests().at(index).body, nullptr, false);
    }

    static json savedMemory() {
        std::string bytes;
        return readWholeFile(joinPath(dataFolder(), "memory.json"), bytes)
                   ? json::parse(bytes, nullptr, false)
                   : json("no file");
    }

    std::unique_ptr<LoopbackServer> server;
    Brain brain;
    Assistant assistant{brain};
    std::atomic<bool> cancel = false;
    bool cancelAtSentence = false;
    Lines said;
    Lines activity;
};

TEST_F(TurnTest, AnswersSentenceBySentenceAndRemembersTheExchange) {
    Settings::instance().userName.set("Ada");
    serve({stream(contentEvent("Hello ") + contentEvent("there, Ada. All") +
                  contentEvent(" is well \xF0\x9F\x98\x80"))});
    EXPECT_EQ(ask("How are you?"), "Hello there, Ada. All is well \xF0\x9F\x98\x80");
    EXPECT_EQ(said, (Lines{"Hello there, Ada.", "All is well"}));
    EXPECT_EQ(activity, Lines{});

    const json sent = request(0);
    ASSERT_EQ(sent["messages"].size(), 2u);
    EXPECT_EQ(sent["messages"][0]["role"], "system");
    EXPECT_NE(sent["messages"][0]["content"].get<std::string>().find("The user's name is Ada.\n"),
              std::string::npos);
    EXPECT_EQ(sent["messages"][1], json({{"role", "user"}, {"content", "How are you?"}}));
    EXPECT_EQ(sent["max_tokens"], 400);
    EXPECT_EQ(savedMemory()["history"],
              json::array({{"How are you?", "Hello there, Ada. All is well \xF0\x9F\x98\x80"}}));
}

TEST_F(TurnTest, TheLastSixExchangesGoAlongAndThirtyAreKept) {
    for (int i = 1; i <= 30; ++i) {
        assistant.memory.history.push_back({"q" + std::to_string(i), "a" + std::to_string(i)});
    }
    const std::string reply(699, 'x');
    serve({stream(contentEvent(reply + "\xC3\xA9 and more"))});
    EXPECT_EQ(ask("bad \xFF bytes"), reply) << "700 bytes, less the character that would be split";
    EXPECT_EQ(said, Lines{reply + "\xC3\xA9 and more"}) << "all of it was said";
    const json messages = request(0)["messages"];
    ASSERT_EQ(messages.size(), 14u);
    EXPECT_EQ(messages[1], json({{"role", "user"}, {"content", "q25"}}));
    EXPECT_EQ(messages[12], json({{"role", "assistant"}, {"content", "a30"}}));
    EXPECT_EQ(messages[13]["content"], "bad \xEF\xBF\xBD bytes");
    const json history = savedMemory()["history"];
    ASSERT_EQ(history.size(), 30u);
    EXPECT_EQ(history[0][0], "q2");
    EXPECT_EQ(history[29], json::array({"bad \xEF\xBF\xBD bytes", reply}));
}

TEST_F(TurnTest, ToolsResultsGoBackToTheModelInOrder) {
    serve({stream(contentEvent("Let me see.") + callEvent(0, "one", "no_such", "{\"a\":1}") +
                  callEvent(1, "two", "nor_this", "{")),
           stream(contentEvent("There is nothing."))});
    EXPECT_EQ(ask("Well?"), "There is nothing.");
    EXPECT_EQ(said, (Lines{"Let me see.", "There is nothing."}));
    EXPECT_EQ(activity, Lines{"Thinking..."});
    const json messages = request(1)["messages"];
    ASSERT_EQ(messages.size(), 5u);
    EXPECT_EQ(messages[2], json::parse(R"({"role":"assistant","content":"Let me see.","tool_calls":[
        {"id":"one","type":"function","function":{"name":"no_such","arguments":"{\"a\":1}"}},
        {"id":"two","type":"function","function":{"name":"nor_this","arguments":"{}"}}]})"));
    EXPECT_EQ(messages[3],
              json::parse(R"({"role":"tool","tool_call_id":"one","content":"Error: unknown tool no_such"})"));
    EXPECT_EQ(
        messages[4],
        json::parse(R"({"role":"tool","tool_call_id":"two","content":"Error: unknown tool nor_this"})"));
    EXPECT_EQ(savedMemory()["history"], json::array({{"Well?", "There is nothing."}}));
}

TEST_F(TurnTest, SixPassesAreTheEnd) {
    const Reply call = stream(callEvent(0, "", "again", "{}"));
    serve({call, call, call, call, call, call, call});
    EXPECT_EQ(ask("Go on"), "");
    EXPECT_EQ(server->requests().size(), 6u);
    EXPECT_EQ(activity.size(), 6u);
    EXPECT_FALSE(request(5).contains("tools"));
    EXPECT_EQ(savedMemory(), "no file");
}

TEST_F(TurnTest, AFailedRequestIsApologisedForAndForgotten) {
    const std::string apology = "Sorry, my brain hiccuped. Try me again in a moment.";
    serve({stream(contentEvent("First some words. And") + callEvent(0, "x", "tool", "{}")),
           makeReply(500, "broken")});
    EXPECT_EQ(ask("Hm?"), apology);
    EXPECT_EQ(said, (Lines{"First some words.", "And", apology}));
    EXPECT_TRUE(assistant.memory.history.empty());
    EXPECT_EQ(savedMemory(), "no file");
    std::string log;
    ASSERT_TRUE(readWholeFile(joinPath(dataFolder(), "velu.log"), log));
    EXPECT_NE(log.find("chat failed: HTTP 500\n"), std::string::npos);
    EXPECT_NE(log.find("tool tool -> 24 chars\n"), std::string::npos);
}

TEST_F(TurnTest, ACancelledTurnSaysNothingMoreAndStoresNothing) {
    const auto gate = std::make_shared<Gate>();
    Reply reply = stream(contentEvent("The first sentence. Half of the sec"));
    reply.chunks.push_back({contentEvent("ond one."), 0, gate});
    serve({reply});
    cancelAtSentence = true;
    EXPECT_EQ(ask("Tell me"), "");
    EXPECT_EQ(said, Lines{"The first sentence."});
    EXPECT_EQ(savedMemory(), "no file");

    EXPECT_EQ(ask("Again"), "") << "the flag still stands";
    EXPECT_EQ(server->requests().size(), 1u);
}

TEST_F(TurnTest, AnEmptyReplyIsNotStored) {
    serve({stream("")});
    EXPECT_EQ(ask("Anyone?"), "");
    EXPECT_EQ(said, Lines{});
    EXPECT_EQ(savedMemory(), "no file");
}

TEST_F(TurnTest, TheWarmUpSharesTheBeginningOfATurn) {
    serve({stream(contentEvent("Hi")), stream(contentEvent("Hello again."))});
    assistant.warmUp(&cancel);
    ask("Hello?");
    const json warm = request(0);
    EXPECT_EQ(warm["max_tokens"], 1);
    EXPECT_EQ(warm["messages"][0], request(1)["messages"][0]);
    EXPECT_EQ(warm["messages"][1], json({{"role", "user"}, {"content", "hi"}}));
    EXPECT_EQ(said, Lines{"Hello again."});
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
