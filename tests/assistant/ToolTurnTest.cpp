// Tools and pre-routes, whose services are on a loopback server.

#include <sys/stat.h>

#include <cstdlib>
#include <regex>
#include <thread>

#include "assistant/AssistantFixture.h"
#include "assistant/TextCases.h"
#include "foundation/Ticks.h"
#include "support/TemporaryFolder.h"

using nlohmann::json;

namespace {

const char* const resultPage =
    R"(<a class="result__a" href="https://one.example/">One</a><a class="result__snippet">First.</a>)";
const std::string resultText = "1. One\n   https://one.example/\n   First.\n";
const std::string forecastText =
    "Weather for Paris, Ile-de-France (source: Open-Meteo). Right now 61 F (feels like 60), overcast, wind 7 "
    "mph.";
const std::string pageText = "A page with quite enough text in it to be worth reading.";

class ToolTurnTest : public AssistantFixture {
protected:
    ToolTurnTest() {
        answers = {{"/html/", makeReply(200, resultPage)},
                   {"/v1/search?count=5&language=en&name=Paris", makeReply(200, readTestData("places.json"))},
                   {"/v1/forecast", makeReply(200, R"({"current":{"temperature_2m":61.4,
                        "apparent_temperature":59.6,"weather_code":3,"wind_speed_10m":7.2}})")},
                   {"/page", makeReply(200, "<p>" + pageText + "</p>")},
                   {"/long", makeReply(200, longPage())}};
    }

    /// Ten kilobytes of dull lines and one about giraffes.
    static std::string longPage() {
        std::string page;
        for (int i = 0; i < 200; ++i)
            page += "<p>A dull line of a page that nobody ever asked for.</p>";
        return page + "<p>Giraffes sleep for half an hour a day, and mostly standing.</p>";
    }

    std::string call(const std::string& name, const json& arguments) {
        told.clear();
        return assistant.dispatchTool(
            name, arguments, [this](const std::string& line) { told.push_back(line); }, &cancel);
    }

    /// What the model got to read last.
    std::string newest() const { return messages().back()["content"]; }
};

TEST_F(ToolTurnTest, EveryToolAnswersTheModelInWords) {
    std::vector<std::pair<std::string, PlaceLifetime>> kept;
    assistant.user.keepPlace = [&](const Place& place, PlaceLifetime lifetime) {
        choices.place = place;
        kept.emplace_back(place.name, lifetime);
    };
    for (const json& row : textCases("dispatchTool")) {
        EXPECT_EQ(call(row[0], row[1]), row[3]) << row;
        EXPECT_EQ(told, row[2] == "" ? Lines{} : Lines{row[2]}) << row;
    }
    EXPECT_EQ(call("web_search", {{"query", "tea"}}), resultText);
    EXPECT_EQ(told, Lines{"Searching the web: tea"});
    const std::string url = server.url("/page/with-a-name-that-makes-the-address-longer-than-sixty-bytes");
    EXPECT_EQ(call("read_webpage", {{"url", url}}), pageText);
    EXPECT_EQ(told, Lines{"Reading " + url.substr(0, 57) + "..."});
    EXPECT_TRUE(
        std::regex_match(call("get_datetime", {{"zone", "any"}}),
                         std::regex("[A-Z][a-z]+day, [A-Z][a-z]+ \\d\\d, \\d{4}, \\d\\d:\\d\\d [AP]M")));
    EXPECT_EQ(assistant.memory.facts, Lines{"Likes tea"});
    ASSERT_EQ(kept.size(), 1u);
    EXPECT_EQ(kept[0], (std::pair<std::string, PlaceLifetime>("Paris, Ile-de-France", PlaceLifetime::saved)));
    EXPECT_EQ(choices.place.latitude, 48.85341);
    EXPECT_EQ(choices.place.longitude, 2.3488);
}

TEST_F(ToolTurnTest, ArgumentsOfAWrongTypeAreAnErrorThatTheModelCanRead) {
    const std::pair<const char*, json> cases[] = {{"set_timer", {{"minutes", "five"}}},
                                                  {"set_timer", {{"minutes", 5}, {"label", 7}}},
                                                  {"web_search", {{"query", {1, 2}}}},
                                                  {"remember", {{"fact", nullptr}}}};
    for (const auto& [name, arguments] : cases)
        EXPECT_EQ(call(name, arguments).rfind("Error: [json.exception.type_error", 0), 0u) << name;
    EXPECT_TRUE(assistant.timers.empty());
    EXPECT_EQ(call("remember", {{"fact", "x"}}), "Saved.") << "the lock was given back";
}

TEST_F(ToolTurnTest, ThePreRoutesPlaceFreshDataBehindTheQuestion) {
    struct Case {
        std::string question;
        std::string id;
        const char* tool;
        json arguments;
        std::string result;
        Lines told;
        std::string logged;
    };
    const std::string page = server.url("/page");
    const Case cases[] = {
        {"What does (" + page + "). say about the weather?",
         "pre_url0",
         "read_webpage",
         {{"url", page}},
         pageText + "\n[This is the content of the page the user linked. Treat it as authoritative and "
                    "answer from it.]",
         {"say Let me read that.", "Reading " + page},
         "url-fetch " + page + " -> 56 chars"},
        {"What is the weather in Paris today?",
         "pre_wx",
         "get_weather",
         {{"place", "Paris"}},
         forecastText + "\nAnswer briefly from this data, in plain spoken sentences.",
         {"Checking the weather...", "say Let me check."},
         "weather(Paris) -> 108 chars"},
        {"Velu, who won in 2024?",
         "pre_search",
         "web_search",
         {{"query", "who won in 2024"}},
         resultText +
             "\nUse these results to answer. If they are not enough, call read_webpage on the best URL.",
         {"Searching the web: who won in 2024", "say Let me look that up."},
         "pre-search 'who won in 2024' -> " + std::to_string(resultText.size()) + " chars"},
    };
    for (const Case& item : cases) {
        assistant.memory.history.clear();
        EXPECT_EQ(ask(item.question), "So it is done.");
        Lines expected = item.told;
        expected.insert(expected.end(), {"Thinking...", "say So it is done."});
        EXPECT_EQ(told, expected) << item.question;
        const json function = {{"name", item.tool}, {"arguments", item.arguments.dump()}};
        const json call = {{"id", item.id}, {"type", "function"}, {"function", function}};
        ASSERT_EQ(messages().size(), 4u) << item.question;
        EXPECT_EQ(messages()[1]["content"], item.question);
        EXPECT_EQ(messages()[2], json({{"role", "assistant"}, {"content", ""}, {"tool_calls", {call}}}));
        EXPECT_EQ(messages()[3],
                  json({{"role", "tool"}, {"tool_call_id", item.id}, {"content", item.result}}));
        EXPECT_EQ(logged().back(), item.logged);
    }
}

TEST_F(ToolTurnTest, TwoPagesAreReadAndNothingIsSearchedWithoutWebResearch) {
    ask("Compare " + server.url("/page/a") + " and " + server.url("/page/b") + " with " +
        server.url("/page/c"));
    ASSERT_EQ(messages().size(), 6u) << "two pages, not three";
    EXPECT_EQ(messages()[2]["tool_calls"][0]["id"], "pre_url0");
    EXPECT_EQ(messages()[4]["tool_calls"][0]["id"], "pre_url1");
    EXPECT_EQ(std::count(told.begin(), told.end(), "say Let me read that."), 1);
    EXPECT_EQ(std::count(told.begin(), told.end(), "Thinking..."), 2);

    assistant.memory.history.clear();
    choices.webResearch = false;
    ask("What is the latest news?");
    EXPECT_EQ(messages().size(), 2u);
    EXPECT_EQ(request(1)["tools"].size(), 6u);
    EXPECT_EQ(told, Lines{"say Here is what I know."});
    EXPECT_EQ(call("web_search", {{"query", "tea"}}), resultText) << "a call runs, whatever was offered";
    ask("Is it raining in Paris?");
    EXPECT_EQ(newest().rfind(forecastText, 0), 0u);
}

TEST_F(ToolTurnTest, OfALongPageTheModelGetsWhatTheQuestionIsAbout) {
    const json arguments = {{"url", server.url("/long")}};
    const auto holdsAnswer = [this] { return newest().find("Giraffes sleep") != std::string::npos; };
    ask("How long do giraffes sleep? See " + server.url("/long"));
    EXPECT_TRUE(holdsAnswer());
    for (const auto& [question, isFound] : {std::pair{"Tell of giraffes", true}, {"Tell of hares", false}}) {
        replies = {stream(callEvent(0, "x", "read_webpage", arguments.dump()))};
        ask(question);
        EXPECT_EQ(holdsAnswer(), isFound) << question;
    }
}

TEST_F(ToolTurnTest, FacesAreOfferedOnceTheyCanBeLearnt) {
    EXPECT_EQ(assistant.toolSchemas().size(), 8u);
    assistant.learnFace = [](const std::string& name) { return "Learnt " + name + "."; };
    EXPECT_EQ(assistant.toolSchemas().size(), 9u);
    EXPECT_EQ(call("learn_face", {{"name", "Ada"}}), "Learnt Ada.");
}

TEST_F(ToolTurnTest, AServiceThatAnswersNonsenseCostsNobodyTheTurn) {
    for (const char* body : {R"({"current":{"temperature_2m":"warm"}})", R"({"current":null})",
                             R"({"current":[]})", R"({"current":{},"daily":5})"}) {
        answers["/v1/forecast"] = makeReply(200, body);
        EXPECT_EQ(ask("Is it raining in Paris?"), "So it is done.") << body;
        EXPECT_EQ(newest().rfind("Error: [json", 0), 0u) << body;
        EXPECT_EQ(call("get_weather", {{"place", "Paris"}}).rfind("Error: [json", 0), 0u) << body;
    }
}

TEST_F(ToolTurnTest, ACancelLeavesARunningLookUp) {
    Reply held = makeReply(200, "");
    held.holdHeaders = std::make_shared<Gate>();  // never opened
    answers = {{"/", held}};
    size_t requests = 0;
    for (const std::string& question : {std::string("Search for tea"), std::string("The weather in Paris?"),
                                        "Read " + server.url("/page")}) {
        cancel = false;
        uint64_t setAt = 0;
        std::thread canceller([&] {
            EXPECT_TRUE(server.waitForRequests(requests + 1));
            setAt = tickCount();
            cancel = true;
        });
        EXPECT_EQ(ask(question), "");
        const uint64_t endedAt = tickCount();
        canceller.join();
        EXPECT_LT(endedAt - setAt, 5000u) << "long before the request would have timed out";
        requests = server.requests().size();
    }
    EXPECT_TRUE(model.requests().empty());

    // With the flag set, the rest of the turn doesn't wait for anybody either.
    const uint64_t before = tickCount();
    EXPECT_EQ(call("read_webpage", {{"url", server.url("/")}}), "Error: couldn't load the page (cancelled).");
    EXPECT_EQ(call("get_weather", {{"place", "Paris"}}), "Couldn't find a place called Paris.");
    EXPECT_EQ(call("web_search", {{"query", "tea"}}).rfind("Search failed", 0), 0u);
    EXPECT_LT(tickCount() - before, 5000u);
}

TEST_F(ToolTurnTest, RemindersComeDueInTheOrderOfTheirSetting) {
    const uint64_t before = tickCount();
    call("set_timer", {{"minutes", 2}, {"label", "later"}});
    call("set_timer", {{"minutes", 1}});
    call("set_timer", {{"minutes", 1}, {"label", "tea"}});
    const uint64_t after = tickCount();
    EXPECT_EQ(assistant.takeDueReminders(before + 59999), Lines{});
    EXPECT_EQ(assistant.takeDueReminders(after + 60000), (Lines{"Time's up", "tea"}));
    EXPECT_EQ(assistant.takeDueReminders(after + 60000), Lines{});
    EXPECT_EQ(assistant.takeDueReminders(after + 120000), Lines{"later"});
    assistant.timers = {{500, "exact"}};
    EXPECT_EQ(assistant.takeDueReminders(499), Lines{});
    EXPECT_EQ(assistant.takeDueReminders(500), Lines{"exact"});
}

TEST_F(ToolTurnTest, OpensALinkAsOneArgumentOrNotAtAll) {
    const TemporaryFolder folder;
    const std::string opened = joinPath(folder.path, "opened");
    const std::string url = "https://example.org/?a=1&b=$(touch x);'\"`c` d";
    setenv("PATH", folder.path.c_str(), 1);
    EXPECT_EQ(call("open_url", {{"url", url}}), "Opened.") << "with no opener";

    const std::string program = joinPath(folder.path, "xdg-open");
    writeWholeFile(program, "#!/bin/sh\nprintf '%s\\n' \"$#\" \"$1\" > '" + opened + ".new'\n/bin/mv '" +
                                opened + ".new' '" + opened + "'\n");
    chmod(program.c_str(), 0755);
    EXPECT_EQ(call("open_url", {{"url", url}}), "Opened.");
    for (int i = 0; i < 1000 && !isFile(opened); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    std::string arguments;
    ASSERT_TRUE(readWholeFile(opened, arguments));
    EXPECT_EQ(arguments, "1\n" + url + "\n");
}

}  // namespace
