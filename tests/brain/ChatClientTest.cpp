#include "brain/ChatClient.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "support/EngineFolder.h"
#include "support/LoopbackServer.h"
#include "support/RawListener.h"
#include "support/TestData.h"

using nlohmann::json;

namespace {

const json messages = {{{"role", "user"}, {"content", "caf\xC3\xA9"}}};
const std::atomic<bool> never = false;

Reply streamReply(const std::string& bytes) {
    Reply reply = makeReply(200, bytes, "text/event-stream");
    reply.framing = Framing::chunked;
    return reply;
}

std::string dataFile(const char* name) {
    std::string bytes;
    EXPECT_TRUE(readWholeFile(joinPath(dataFolder(), name), bytes));
    return bytes;
}

TEST(ChatClient, SendsTheFixedRequestAndLeavesBothSidesToLookAt) {
    const std::string stream = readTestData("chat-words-and-call.txt");
    const LoopbackServer server({streamReply(stream), streamReply(stream)});
    const ChatClient client(server.port);
    std::string heard;
    const ChatResult result = client.chat(
        messages, json::array(), 400, [&](const std::string& piece) { heard += piece; }, &never, "auto");
    EXPECT_TRUE(result.ok);
    EXPECT_EQ(heard, "Let me look at the clock for you. ");
    EXPECT_EQ(result.text, heard);
    EXPECT_EQ(result.toolCalls.size(), 1u);

    const json tools = {{{"type", "function"}}};
    EXPECT_TRUE(client.chat(messages, tools, 1, {}, &never, "auto").ok);
    const auto requests = server.requests();
    EXPECT_EQ(requests.at(0).method, "POST");
    EXPECT_EQ(requests.at(0).path, "/v1/chat/completions");
    EXPECT_EQ(requests.at(0).header("Content-Type"), "application/json");
    EXPECT_EQ(requests.at(0).body,
              "{\"cache_prompt\":true,\"max_tokens\":400,\"messages\":[{\"content\":\"caf\xC3\xA9\",\"role\":"
              "\"user\"}],"
              "\"model\":\"velu\",\"stream\":true,\"temperature\":0.3,\"top_p\":0.9}");
    EXPECT_EQ(requests.at(1).body,
              "{\"cache_prompt\":true,\"max_tokens\":1,\"messages\":[{\"content\":\"caf\xC3\xA9\",\"role\":"
              "\"user\"}],"
              "\"model\":\"velu\",\"stream\":true,\"temperature\":0.3,\"tool_choice\":\"auto\",\"tools\":"
              "[{\"type\":\"function\"}],\"top_p\":0.9}");
    EXPECT_EQ(dataFile("last-request.json"), requests.at(1).body);
    EXPECT_EQ(dataFile("last-response.txt"), stream);
}

TEST(ChatClient, FailsWithTheReasonAndKeepsWhatCame) {
    const std::string context = readTestData("chat-error-context.json");
    const LoopbackServer refusing({makeReply(400, context, "application/json")});
    const ChatResult refused = ChatClient(refusing.port).chat(messages, nullptr, 400, {}, &never, "auto");
    EXPECT_FALSE(refused.ok);
    EXPECT_EQ(refused.error, "HTTP 400");
    EXPECT_TRUE(refused.toolCalls.is_null());
    EXPECT_EQ(dataFile("last-response.txt"), context);

    const ChatResult absent = ChatClient(freePort()).chat(messages, nullptr, 400, {}, &never, "auto");
    EXPECT_FALSE(absent.ok);
    EXPECT_EQ(absent.error, "request failed (7)");
    EXPECT_EQ(dataFile("last-response.txt"), "");

    RawConnection headersOnly;
    headersOnly.pieces = {{"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"}};
    const RawListener dying({headersOnly});
    EXPECT_EQ(ChatClient(dying.port).chat(messages, nullptr, 400, {}, &never, "auto").error, "read failed");

    Reply cutOff = streamReply("data: {\"choices\":[{\"delta\":{\"content\":\"as far\"}}]}\n\ndata: {\"cho");
    cutOff.cut = true;
    const LoopbackServer cutting({cutOff});
    const ChatResult kept = ChatClient(cutting.port).chat(messages, nullptr, 400, {}, &never, "auto");
    EXPECT_TRUE(kept.ok) << "what came counts as the reply";
    EXPECT_EQ(kept.text, "as far");
}

TEST(ChatClient, ACancelInMidStreamKeepsTheTextSoFar) {
    const auto gate = std::make_shared<Gate>();
    Reply reply = streamReply("data: {\"choices\":[{\"delta\":{\"content\":\"half\"}}]}\n\n");
    reply.chunks.push_back({"data: [DONE]\n\n", 0, gate});
    const LoopbackServer server({reply});
    std::atomic<bool> cancel = false;
    const ChatResult result =
        ChatClient(server.port)
            .chat(
                messages, nullptr, 400, [&](const std::string&) { cancel = true; }, &cancel, "auto");
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.error, "cancelled");
    EXPECT_EQ(result.text, "half");
    EXPECT_TRUE(result.toolCalls.is_null());
}

TEST(ChatClient, AnyBytesInTheMessagesReachTheServerAsUtf8) {
    const LoopbackServer server({streamReply("")});
    const json broken = {{{"role", "user"}, {"content", "bad \xFF byte"}}};
    EXPECT_TRUE(ChatClient(server.port).chat(broken, nullptr, 400, {}, &never, "auto").ok);
    EXPECT_NE(server.requests().at(0).body.find("bad \xEF\xBF\xBD byte"), std::string::npos);
}

}  // namespace
