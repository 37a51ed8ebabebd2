#include "brain/ChatStream.h"

#include <gtest/gtest.h>

#include "support/TestData.h"

using nlohmann::json;

namespace {

struct Heard {
    std::vector<std::string> pieces;
    std::string text;
    json calls;
};

Heard read(const std::string& bytes, size_t chunk) {
    Heard heard;
    ChatStream stream([&](const std::string& piece) { heard.pieces.push_back(piece); });
    for (size_t at = 0; at < bytes.size(); at += chunk)
        stream.feed(std::string_view(bytes).substr(at, chunk));
    heard.text = stream.text;
    heard.calls = stream.toolCalls();
    return heard;
}

std::string event(const std::string& delta) {
    return "data: {\"choices\":[{\"delta\":" + delta + "}]}\n\n";
}

TEST(ChatStream, ReadsWhatARealServerStreamsHoweverItIsCut) {
    for (const size_t chunk : {size_t{1}, size_t{7}, size_t{1000}, size_t{1000000}}) {
        const Heard text = read(readTestData("chat-text.txt"), chunk);
        EXPECT_EQ(text.text,
                  "Hello there, I am the scripted test brain. I heard you well, and version 1.5 works. "
                  "Goodbye for now!");
        EXPECT_EQ(text.calls, json::array());
        EXPECT_GT(text.pieces.size(), 10u);

        const Heard call = read(readTestData("chat-tool-call.txt"), chunk);
        EXPECT_EQ(call.text, "");
        EXPECT_TRUE(call.pieces.empty());
        ASSERT_EQ(call.calls.size(), 1u);
        EXPECT_FALSE(call.calls[0]["id"].get<std::string>().empty());
        EXPECT_TRUE(call.calls[0]["arguments"].is_object());

        const Heard both = read(readTestData("chat-words-and-call.txt"), chunk);
        EXPECT_EQ(both.text, "Let me look at the clock for you. ");
        ASSERT_EQ(both.calls.size(), 1u);
        EXPECT_EQ(both.calls[0]["name"], "get_datetime");

        const Heard two = read(readTestData("chat-two-calls.txt"), chunk);
        ASSERT_EQ(two.calls.size(), 2u);
        EXPECT_EQ(two.calls[0]["name"], "get_datetime");
        EXPECT_EQ(two.calls[1]["name"], "remember");
        EXPECT_EQ(two.calls[1]["arguments"], json({{"fact", "Two calls came at once."}}));
        EXPECT_NE(two.calls[0]["id"], two.calls[1]["id"]);
    }
}

TEST(ChatStream, TakesEveryLawfulFormOfALineAndDropsTheRest) {
    const std::string good = R"({"choices":[{"delta":{"content":"x"}}]})";
    struct Case {
        std::string bytes;
        std::string text;
    };
    const Case cases[] = {
        {"data:" + good + "\n", "x"},
        {"data: " + good + "\r\n", "x"},
        {"data:    " + good + "\n", "x"},
        {"data: " + good, ""},  // never finished by a line feed
        {"data: [DONE]\ndata: " + good + "\n", "x"},
        {": comment\nevent: message\nid: 5\n\n" + good + "\ndata " + good + "\n", ""},
        {"data:\ndata: \ndata: {\ndata: []\ndata: 5\ndata: {}\n", ""},
        {"data: {\"choices\":[]}\ndata: {\"choices\":{}}\ndata: {\"choices\":[5]}\ndata: "
         "{\"choices\":[{}]}\n",
         ""},
        {event("null") + event("[]") + event("{\"content\":null}") + event("{\"content\":5}"), ""},
        {event("{\"content\":\"\xFF\"}"), ""},
    };
    for (const Case& item : cases) {
        const Heard heard = read(item.bytes, 3);
        EXPECT_EQ(heard.text, item.text) << item.bytes;
        EXPECT_EQ(heard.pieces.size(), item.text.size()) << item.bytes;
        EXPECT_EQ(heard.calls, json::array()) << item.bytes;
    }
}

TEST(ChatStream, PutsToolCallsTogetherFromFragments) {
    struct Case {
        const char* what;
        std::string bytes;
        const char* calls;
    };
    const auto fragment = [](const std::string& body) { return event("{\"tool_calls\":[" + body + "]}"); };
    const Case cases[] = {
        {"name and arguments grow, the last id wins",
         fragment(R"({"index":0,"id":"a","function":{"name":"get_","arguments":"{\"x\""}})") +
             fragment(R"({"index":0,"id":"b","function":{"name":"it","arguments":":1}"}})"),
         R"([{"arguments":{"x":1},"id":"b","name":"get_it"}])"},
        {"no index, no id, no arguments", fragment(R"({"function":{"name":"a"}})"),
         R"([{"arguments":{},"id":"call_0","name":"a"}])"},
        {"a hole before it", fragment(R"({"index":2,"function":{"name":"late","arguments":"{}"}})"),
         R"([{"arguments":{},"id":"call_0","name":"late"}])"},
        {"arguments that are no object", fragment(R"({"function":{"name":"a","arguments":"[1]"}})"),
         R"([{"arguments":{},"id":"call_0","name":"a"}])"},
        {"an index that is no integer", fragment(R"({"index":0.0,"function":{"name":"a"}})"),
         R"([{"arguments":{},"id":"call_0","name":"a"}])"},
        {"arguments without a bottom",
         fragment(R"({"function":{"name":"a","arguments":"{\"x\":)" + std::string(100000, '[') +
                  std::string(100000, ']') + R"(}"}})"),
         R"([{"arguments":{},"id":"call_0","name":"a"}])"},
        {"never a name", fragment(R"({"id":"a","function":{"arguments":"{}"}})"), "[]"},
        {"wild indices",
         fragment(R"({"index":4000000000,"function":{"name":"a"}})") +
             fragment(R"({"index":-1,"function":{"name":"a"}})") +
             fragment(R"({"index":"0","function":{"name":"a"}})"),
         "[]"},
        {"wrong types", fragment("5,null,{\"function\":5},{\"id\":7,\"function\":{\"name\":[]}}"), "[]"},
    };
    for (const Case& item : cases)
        EXPECT_EQ(read(item.bytes, 11).calls, json::parse(item.calls)) << item.what;
}

TEST(ChatStream, ALineThatNeverEndsTakesNoMemoryAndIsDropped) {
    ChatStream stream({});
    stream.feed("data: {\"choices\":[{\"delta\":{\"content\":\"");
    for (int i = 0; i < 40; ++i)
        stream.feed(std::string(65536, 'x'));
    stream.feed("\"}}]}\n" + event("{\"content\":\"next\"}"));
    EXPECT_EQ(stream.text, "next");
}

TEST(ChatStream, KeepsOnlyTheBeginningForTheLog) {
    ChatStream stream({});
    const std::string chunk(65536, 'x');
    for (int i = 0; i < 20; ++i)
        stream.feed(chunk);
    EXPECT_EQ(stream.rawResponse.size(), 4u * 65536u);
}

}  // namespace
