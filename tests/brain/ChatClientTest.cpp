#include "brain/ChatClient.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "brain/ChatResult.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "support/EngineFolder.h"
#include "support/LoopbackServer.h"
#include "support/TestData.h"

using nlohmann::json;

namespace {

/// With a byte that isn't UTF-8.
const json messages = {{{"role", "user"}, {"content", "caf\xC3\xA9 \xFF"}}};
const std::atomic<bool> never = false;

Reply streamReply(const std::string& bytes) {
    Reply reply = makeReply(200, bytes, "text/event-stream");
    reply.framing = Framing::chunked;
    return reply;
}

ChatResult chat(int32_t port) {
    return ChatClient(port).chat(messages, nullptr, 400, {}, &never, "auto");
}

TEST(ChatClient, SendsTheFixedRequestAndLeavesBothSidesToLookAt) {
    const std::string stream = readTestData("chat-words-and-call.txt");
    const LoopbackServer server({streamReply(stream), streamReply(stream)});
    const ChatClient client(server.port);
    std::string heard;
    const auto onDelta = [&](const std::string& piece) { heard += piece; };
    const ChatResult result = client.chat(messages, json::array(), 400, onDelta, &never, "auto");
    EXPECT_TRUE(result.ok);
    EXPECT_EQ(heard, "Let me look at the clock for you. ");
    EXPECT_EQ(result.text, heard);
    EXPECT_EQ(result.toolCalls.size(), 1U);

    const json tools = {{{"type", "function"}}};
    EXPECT_TRUE(client.chat(messages, tools, 1, {}, &never, "auto").ok);
    const auto requests = server.requests();
    EXPECT_EQ(requests.at(0).method, "POST");
    EXPECT_EQ(requests.at(0).path, "/v1/chat/completions");
    EXPECT_EQ(requests.at(0).header("Content-Type"), "application/json");
    const auto body = [](const std::string& maxTokens, const std::string& offered) {
        return R"({"cache_prompt":true,"max_tokens":)" + maxTokens +
               ",\"messages\":[{\"content\":\"caf\xC3\xA9 \xEF\xBF\xBD\",\"role\":\"user\"}]" +
               R"(,"model":"velu","stream":true,"temperature":0.3)" + offered + R"(,"top_p":0.9})";
    };
    EXPECT_EQ(requests.at(0).body, body("400", ""));
    EXPECT_EQ(requests.at(1).body, body("1", R"(,"tool_choice":"auto","tools":[{"type":"function"}])"));
    EXPECT_EQ(contentOf(joinPath(dataFolder(), "last-request.json")), requests.at(1).body);
    EXPECT_EQ(contentOf(joinPath(dataFolder(), "last-response.txt")), stream);
}

TEST(ChatClient, FailsWithTheReasonAndKeepsWhatCame) {
    const std::string context = readTestData("chat-error-context.json");
    const LoopbackServer refusing({makeReply(400, context, "application/json")});
    const ChatResult refused = chat(refusing.port);
    EXPECT_FALSE(refused.ok);
    EXPECT_EQ(refused.error, "HTTP 400");
    EXPECT_TRUE(refused.toolCalls.is_null());
    EXPECT_EQ(contentOf(joinPath(dataFolder(), "last-response.txt")), context);

    EXPECT_EQ(chat(freePort()).error, "request failed (7)");
    EXPECT_EQ(contentOf(joinPath(dataFolder(), "last-response.txt")), "");

    const std::string half = "data: {\"choices\":[{\"delta\":{\"content\":\"half\"}}]}\n\n";
    Reply cutOff = streamReply(half + "data: {\"cho");
    cutOff.cut = true;
    Reply held = streamReply(half);
    held.chunks.push_back({"data: [DONE]\n\n", 0, std::make_shared<Gate>()});
    const LoopbackServer server({cutOff, held});
    const ChatResult kept = chat(server.port);
    EXPECT_TRUE(kept.ok) << "what came counts as the reply";
    EXPECT_EQ(kept.text, "half");

    std::atomic<bool> cancel = false;
    const auto stop = [&](const std::string&) { cancel = true; };
    const ChatResult stopped = ChatClient(server.port).chat(messages, nullptr, 400, stop, &cancel, "auto");
    EXPECT_FALSE(stopped.ok);
    EXPECT_EQ(stopped.error, "cancelled");
    EXPECT_EQ(stopped.text, "half");
    EXPECT_TRUE(stopped.toolCalls.is_null());
}

}  // namespace
