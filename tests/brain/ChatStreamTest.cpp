#include "brain/ChatStream.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/TestData.h"

using nlohmann::json;

namespace {

struct Heard {
    std::string text;
    size_t pieces = 0;
    json calls;
};

Heard read(const std::string& bytes, size_t chunk) {
    Heard heard;
    ChatStream stream([&](const std::string&) { ++heard.pieces; });
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
    const std::tuple<const char*, const char*, size_t, const char*> cases[] = {
        {"chat-text.txt",
         "Hello there, I am the scripted test brain. I heard you well, and version 1.5 works. Goodbye for "
         "now!",
         20, "[]"},
        {"chat-words-and-call.txt", "Let me look at the clock for you. ", 7,
         R"([{"arguments":{},"id":"5EzcZYnvYJ7RyAmGt2NlkIGcpZkL4agP","name":"get_datetime"}])"},
        {"chat-two-calls.txt", "", 0,
         R"([{"arguments":{},"id":"MV7PCjJMTq7eKj9atC5NSR5pjBxD3G9o","name":"get_datetime"},)"
         R"({"arguments":{"fact":"Two calls came at once."},"id":"MwzuCHIkardgbNTjtIwJf3jJgqZB3h5w",)"
         R"("name":"remember"}])"},
    };
    for (const auto& [file, text, pieces, calls] : cases) {
        for (const size_t chunk : {size_t{1}, size_t{7}, size_t{1000000}}) {
            const Heard heard = read(readTestData(file), chunk);
            EXPECT_EQ(heard.text, text);
            EXPECT_EQ(heard.pieces, pieces) << file;
            EXPECT_EQ(heard.calls.dump(), calls);
        }
    }
}

TEST(ChatStream, TakesEveryLawfulFormOfALineAndDropsTheRest) {
    const std::string good = R"({"choices":[{"delta":{"content":"x"}}]})";
    const std::pair<std::string, std::string> cases[] = {
        {"data:" + good + "\n", "x"},
        {"data:    " + good + "\r\n", "x"},
        {"data: " + good, ""},  // never finished by a line feed
        {"data: [DONE]\ndata: " + good + "\n", "x"},
        {": comment\nevent: message\nid: 5\n\n" + good + "\ndata " + good + "\n", ""},
        {"data:\ndata: \ndata: {\ndata: []\ndata: 5\ndata: {}\n", ""},
        {"data: {\"choices\":[]}\ndata: {\"choices\":{}}\ndata: {\"choices\":[5]}\n", ""},
        {event("null") + event("[]") + event("{\"content\":null}") + event("{\"content\":5}"), ""},
        {event("{\"content\":\"\"}") + event("{\"content\":\"\xFF\"}"), ""},
    };
    for (const auto& [bytes, text] : cases) {
        const Heard heard = read(bytes, 3);
        EXPECT_EQ(heard.text, text) << bytes;
        EXPECT_EQ(heard.pieces, text.size()) << bytes;
        EXPECT_EQ(heard.calls, json::array()) << bytes;
    }
}

TEST(ChatStream, PutsToolCallsTogetherFromFragments) {
    const auto fragment = [](const std::string& body) { return event("{\"tool_calls\":[" + body + "]}"); };
    const std::string deep = std::string(100000, '[') + std::string(100000, ']');
    const char* bare = R"([{"arguments":{},"id":"call_0","name":"a"}])";
    const std::pair<std::string, const char*> cases[] = {
        // Name and arguments grow, and the last id wins.
        {fragment(R"({"index":0,"id":"a","function":{"name":"get_","arguments":"{\"x\""}})") +
             fragment(R"({"index":0,"id":"b","function":{"name":"it","arguments":":1}"}})"),
         R"([{"arguments":{"x":1},"id":"b","name":"get_it"}])"},
        {fragment(R"({"function":{"name":"a"}})"), bare},
        {fragment(R"({"index":0.0,"function":{"name":"a","arguments":"[1]"}})"), bare},
        {fragment(R"({"index":2,"function":{"name":"a"}})"), bare},
        {fragment(R"({"index":63,"function":{"name":"a"}})"), bare},
        {fragment(R"({"function":{"name":"a","arguments":"{\"x\":)" + deep + R"(}"}})"), bare},
        {fragment(R"({"id":"a","function":{"arguments":"{}"}})"), "[]"},
        {fragment(R"({"index":64,"function":{"name":"a"}})"), "[]"},
        {fragment(R"({"index":-1,"function":{"name":"a"}},{"index":"0","function":{"name":"a"}})"), "[]"},
        {fragment("5,null,{\"function\":5},{\"id\":7,\"function\":{\"name\":[]}}"), "[]"},
    };
    for (const auto& [bytes, calls] : cases)
        EXPECT_EQ(read(bytes, 11).calls, json::parse(calls)) << bytes.substr(0, 200);
}

TEST(ChatStream, KeepsNeitherAnEndlessLineNorALongReply) {
    ChatStream stream({});
    stream.feed("data: {\"choices\":[{\"delta\":{\"content\":\"");
    for (int i = 0; i < 40; ++i)
        stream.feed(std::string(65536, 'x'));
    stream.feed("\"}}]}\n" + event("{\"content\":\"next\"}"));
    EXPECT_EQ(stream.text, "next");
    EXPECT_EQ(stream.rawResponse.size(), 39U + 4U * 65536U) << "grows until it has 200000 bytes";
}

}  // namespace
