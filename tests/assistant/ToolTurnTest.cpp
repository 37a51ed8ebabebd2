// Whole turns in which something is looked up: the stand-in engine calls the tools, loopback services answer
// them.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <regex>
#include <thread>

#include "assistant/Assistant.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "foundation/Settings.h"
#include "foundation/Ticks.h"
#include "support/EngineFolder.h"
#include "support/LoopbackServer.h"
#include "support/TemporaryFolder.h"

using nlohmann::json;

namespace {

using Lines = std::vector<std::string>;

const char* const resultPage =
    R"(<a class="result__a" href="https://one.example/">One</a><a class="result__snippet">First.</a>)"
    R"(<a class="result__a" href="https://two.example/">Two</a><a class="result__a" href="https://three.example/">Three</a>)"
    R"(<a class="result__a" href="https://four.example/">Four</a>)";
const char* const resultText =
    "1. One\n   https://one.example/\n   First.\n2. Two\n   https://two.example/\n   \n"
    "3. Three\n   https://three.example/\n   \n4. Four\n   https://four.example/\n   \n";
const char* const placeBody =
    R"({"results":[{"name":"Paris","admin1":"Ile-de-France","country":"France","latitude":48.85341,"longitude":2.3488}]})";
const char* const forecastBody =
    R"({"current":{"temperature_2m":61.4,"apparent_temperature":59.6,"weather_code":3,"wind_speed_10m":7.2}})";
const char* const forecastText =
    "Weather for Paris, Ile-de-France (source: Open-Meteo). Right now 61 F (feels like 60), overcast, wind 7 "
    "mph.";
const std::string pageText = "A page with quite enough text in it to be worth reading.";

class ToolTurnTest : public testing::Test {
protected:
    ToolTurnTest()
        : web([this](const Received& received) { return answer(received); }),
          brain({}, {{"Fast - small", "small.gguf", "/small.gguf", 1000}}),
          assistant(brain, {"", "", web.url(), web.url(), web.url(), web.url(), web.url()}) {
        placeModel(joinPath(modelsFolder(), "small.gguf"), 1000);
        brain.port = freePort();
        brain.gpuMode = 0;
    }

    Reply answer(const Received& received) {
        if (hold) {
            Reply reply = makeReply(200, "");
            reply.holdHeaders = hold;
            return reply;
        }
        if (received.path == "/html/") return makeReply(200, resultPage);
        if (received.path.rfind("/v1/search", 0) == 0) {
            const bool known = received.path.find("name=Paris") != std::string::npos;
            return makeReply(200, known ? placeBody : "{}");
        }
        if (received.path.rfind("/v1/forecast", 0) == 0) return makeReply(200, forecast);
        if (received.path == "/long") return makeReply(200, longPage);
        if (received.path.rfind("/page", 0) == 0) return makeReply(200, "<p>" + pageText + "</p>");
        return makeReply(404, "");
    }

    /// Starts the engine; `calls` is what it asks for when the question is "go", every tool result is
    /// answered.
    void startEngine(const json& calls) {
        const json script = {{"replies",
                              {{{"when", "go"}, {"role", "user"}, {"calls", calls}},
                               {{"when", ""}, {"role", "tool"}, {"text", "So it is done."}}}},
                             {"default", {{"text", "Here is what I know."}}}};
        installFakeEngine(dataFolder(), false, script.dump());
        brain.stop();
        ASSERT_TRUE(brain.start(
            0, [](const std::string&) {}, &cancel));
    }

    std::string ask(const std::string& question) {
        said.clear();
        activity.clear();
        std::string reply;
        assistant.turn(
            reply, question, [this](const std::string& sentence) { said.push_back(sentence); },
            [this](const std::string& line) { activity.push_back(line); }, &cancel);
        return reply;
    }

    /// The request that the engine got last.
    static json lastRequest() {
        std::string bytes;
        EXPECT_TRUE(readWholeFile(joinPath(dataFolder(), "last-request.json"), bytes));
        return json::parse(bytes, nullptr, false);
    }

    /// What the model got to read of its call, in one pass with a single call.
    std::string resultOf(const std::string& name, const json& arguments) {
        startEngine({{{"name", name}, {"arguments", arguments}}});
        EXPECT_EQ(ask("go"), "So it is done.") << name;
        const json messages = lastRequest()["messages"];
        const json call = messages.at(messages.size() - 2);
        EXPECT_EQ(call["tool_calls"][0]["function"]["name"], name);
        EXPECT_EQ(call["tool_calls"][0]["id"], messages.back()["tool_call_id"]);
        return messages.back()["content"];
    }

    /// Ten kilobytes of dull lines and one about giraffes.
    static std::string makeLongPage() {
        std::string page;
        for (int i = 0; i < 200; ++i)
            page += "<p>A dull line of a page that nobody ever asked for.</p>";
        return page + "<p>Giraffes sleep for half an hour a day, and mostly standing.</p>";
    }

    std::shared_ptr<const Gate> hold;
    const std::string longPage = makeLongPage();
    std::string forecast = forecastBody;
    LoopbackServer web;
    Brain brain;
    Assistant assistant;
    std::atomic<bool> cancel = false;
    Lines said;
    Lines activity;
};

TEST_F(ToolTurnTest, EveryToolAnswersTheModelInWords) {
    const std::string url = web.url("/page/with-a-name-that-makes-the-address-longer-than-sixty-bytes");
    struct Case {
        const char* name;
        json arguments;
        std::string result;
        Lines activity;
    };
    const Case cases[] = {
        {"web_search", {{"query", "tea"}}, resultText, {"Searching the web: tea", "Thinking..."}},
        {"web_search", json::object(), "Error: missing query.", {"Thinking..."}},
        {"read_webpage", {{"url", url}}, pageText, {"Reading " + url.substr(0, 57) + "...", "Thinking..."}},
        {"read_webpage",
         json::object(),
         "Error: only http(s) URLs can be read.",
         {"Reading ", "Thinking..."}},
        {"remember", {{"fact", "Likes tea"}}, "Saved.", {"Thinking..."}},
        {"remember", {{"fact", "likes TEA"}}, "Already remembered.", {"Thinking..."}},
        {"remember", json::object(), "Error: missing fact.", {"Thinking..."}},
        {"learn_face", {{"name", "Ada"}}, "Face recognition is off.", {"Thinking..."}},
        {"get_weather", {{"place", "Paris"}}, forecastText, {"Checking the weather...", "Thinking..."}},
        {"get_weather",
         {{"place", "Nowhere"}},
         "Couldn't find a place called Nowhere.",
         {"Checking the weather...", "Thinking..."}},
        {"set_location", {{"place", "Atlantis"}}, "Couldn't find that place.", {"Thinking..."}},
        {"set_location",
         {{"place", "Paris, France"}},
         "Saved. The user's location is Paris, Ile-de-France.",
         {"Thinking..."}},
        {"get_weather", json::object(), forecastText, {"Checking the weather...", "Thinking..."}},
        {"set_timer", {{"minutes", 0.5}, {"label", "tea"}}, "Timer set for 0 minutes.", {"Thinking..."}},
        {"set_timer", {{"minutes", 1440}}, "Timer set for 1440 minutes.", {"Thinking..."}},
        {"set_timer", {{"minutes", 1440.5}}, "Error: minutes must be between 0 and 1440.", {"Thinking..."}},
        {"set_timer", {{"minutes", 0}}, "Error: minutes must be between 0 and 1440.", {"Thinking..."}},
        {"set_timer", json::object(), "Error: minutes must be between 0 and 1440.", {"Thinking..."}},
        {"open_url",
         {{"url", "file:///etc/passwd"}},
         "Error: only http(s) URLs can be opened.",
         {"Thinking..."}},
        {"open_url",
         {{"url", "HTTP://example.org/"}},
         "Error: only http(s) URLs can be opened.",
         {"Thinking..."}},
        {"get_DateTime", json::object(), "Error: unknown tool get_DateTime", {"Thinking..."}},
    };
    for (const Case& item : cases) {
        EXPECT_EQ(resultOf(item.name, item.arguments), item.result) << item.name << item.arguments;
        EXPECT_EQ(activity, item.activity) << item.name << item.arguments;
        EXPECT_EQ(said, Lines{"So it is done."});
    }
    EXPECT_TRUE(
        std::regex_match(resultOf("get_datetime", {{"zone", "any"}}),
                         std::regex("[A-Z][a-z]+day, [A-Z][a-z]+ \\d\\d, \\d{4}, \\d\\d:\\d\\d [AP]M")));

    EXPECT_EQ(assistant.memory.facts, Lines{"Likes tea"});
    std::string settings;
    ASSERT_TRUE(readWholeFile(joinPath(dataFolder(), "settings.json"), settings));
    EXPECT_NE(settings.find("\"locName\": \"Paris, Ile-de-France\""), std::string::npos);
    EXPECT_NE(settings.find("\"locLat\": 48.85341"), std::string::npos);
}

TEST_F(ToolTurnTest, ArgumentsOfAWrongTypeAreAnErrorThatTheModelCanRead) {
    const std::pair<const char*, json> cases[] = {{"set_timer", {{"minutes", "five"}}},
                                                  {"set_timer", {{"minutes", 5}, {"label", 7}}},
                                                  {"web_search", {{"query", {1, 2}}}},
                                                  {"remember", {{"fact", nullptr}}}};
    for (const auto& [name, arguments] : cases) {
        EXPECT_EQ(resultOf(name, arguments).rfind("Error: [json.exception.type_error", 0), 0u)
            << name << arguments;
    }
    EXPECT_TRUE(assistant.timers.empty());
    // The assistant's lock was given back.
    EXPECT_EQ(resultOf("remember", {{"fact", "x"}}), "Saved.");
}

TEST_F(ToolTurnTest, TwoCallsOfOnePassStandBehindOneMessage) {
    startEngine({{{"name", "remember"}, {"arguments", {{"fact", "one"}}}},
                 {{"name", "set_timer"}, {"arguments", {{"minutes", 5}}}}});
    EXPECT_EQ(ask("go"), "So it is done.");
    const json messages = lastRequest()["messages"];
    ASSERT_EQ(messages.size(), 5u);
    EXPECT_EQ(messages[2]["tool_calls"].size(), 2u);
    EXPECT_EQ(messages[3]["content"], "Saved.");
    EXPECT_EQ(messages[4]["content"], "Timer set for 5 minutes.");
    EXPECT_EQ(activity, Lines{"Thinking..."});
}

TEST_F(ToolTurnTest, SixPassesAreTheEndAndTheLastHasNoTools) {
    const json script = {
        {"default", {{"calls", {{{"name", "get_datetime"}, {"arguments", json::object()}}}}}}};
    installFakeEngine(dataFolder(), false, script.dump());
    ASSERT_TRUE(brain.start(
        0, [](const std::string&) {}, &cancel));
    EXPECT_EQ(ask("go"), "");
    std::string requests;
    ASSERT_TRUE(readWholeFile(joinPath(engineFolder(false), "requests.jsonl"), requests));
    std::vector<json> bodies;
    for (size_t at = 0; at < requests.size(); at = requests.find('\n', at) + 1) {
        bodies.push_back(json::parse(requests.substr(at, requests.find('\n', at) - at), nullptr, false));
    }
    ASSERT_EQ(bodies.size(), 6u);
    for (size_t pass = 0; pass < 5; ++pass) {
        EXPECT_EQ(bodies[pass]["tools"].size(), 8u) << "all but learn_face";
        EXPECT_EQ(bodies[pass]["tool_choice"], "auto");
    }
    EXPECT_FALSE(bodies[5].contains("tools"));
    EXPECT_FALSE(bodies[5].contains("tool_choice"));
}

TEST_F(ToolTurnTest, ThePreRoutesPlaceFreshDataBehindTheQuestion) {
    startEngine(json::array());
    struct Case {
        std::string question;
        const char* tool;
        json arguments;
        std::string result;
        const char* line;
        Lines activity;
    };
    const std::string page = web.url("/page");
    const Case cases[] = {
        {"What does (" + page + "). say about the weather?",
         "read_webpage",
         {{"url", page}},
         pageText + "\n[This is the content of the page the user linked. Treat it as authoritative and "
                    "answer from it.]",
         "Let me read that.",
         {"Reading " + page, "Thinking..."}},
        {"What is the weather in Paris today?",
         "get_weather",
         {{"place", "Paris"}},
         std::string(forecastText) + "\nAnswer briefly from this data, in plain spoken sentences.",
         "Let me check.",
         {"Checking the weather...", "Thinking..."}},
        {"Velu, who won in 2024?",
         "web_search",
         {{"query", "who won in 2024"}},
         std::string(resultText) +
             "\nUse these results to answer. If they are not enough, call read_webpage on the best URL.",
         "Let me look that up.",
         {"Searching the web: who won in 2024", "Thinking..."}},
    };
    for (const Case& item : cases) {
        assistant.memory.history.clear();
        EXPECT_EQ(ask(item.question), "So it is done.");
        EXPECT_EQ(said, (Lines{item.line, "So it is done."})) << item.question;
        EXPECT_EQ(activity, item.activity) << item.question;
        const json messages = lastRequest()["messages"];
        ASSERT_EQ(messages.size(), 4u) << item.question;
        EXPECT_EQ(messages[1]["content"], item.question);
        EXPECT_EQ(messages[2]["content"], "");
        const json call = messages[2]["tool_calls"][0];
        EXPECT_EQ(call["function"], json({{"name", item.tool}, {"arguments", item.arguments.dump()}}));
        EXPECT_EQ(messages[3],
                  json({{"role", "tool"}, {"tool_call_id", call["id"]}, {"content", item.result}}));
    }

    assistant.memory.history.clear();
    ask("Compare " + web.url("/page/a") + " and " + web.url("/page/b") + " with " + web.url("/page/c"));
    const json messages = lastRequest()["messages"];
    ASSERT_EQ(messages.size(), 6u) << "two pages, not three";
    EXPECT_EQ(messages[2]["tool_calls"][0]["id"], "pre_url0");
    EXPECT_EQ(messages[4]["tool_calls"][0]["id"], "pre_url1");
    EXPECT_EQ(said, (Lines{"Let me read that.", "So it is done."}));

    assistant.memory.history.clear();
    Settings::instance().webResearch = false;
    ask("What is the latest news?");
    EXPECT_EQ(lastRequest()["messages"].size(), 2u);
    EXPECT_EQ(lastRequest()["tools"].size(), 6u);
    EXPECT_EQ(said, Lines{"Here is what I know."});
}

TEST_F(ToolTurnTest, OfALongPageTheModelGetsWhatTheQuestionIsAbout) {
    const auto newest = [] { return lastRequest()["messages"].back()["content"].get<std::string>(); };
    startEngine({{{"name", "read_webpage"}, {"arguments", {{"url", web.url("/long")}}}}});
    ask("How long do giraffes sleep? See " + web.url("/long"));
    EXPECT_NE(newest().find("Giraffes sleep"), std::string::npos);
    assistant.memory.history.clear();
    ask("go and tell me of giraffes");
    EXPECT_NE(newest().find("Giraffes sleep"), std::string::npos);
    assistant.memory.history.clear();
    ask("go and tell me of rabbits");
    EXPECT_EQ(newest().find("Giraffes sleep"), std::string::npos);
}

TEST_F(ToolTurnTest, WhatIsSaidAndShownComesInItsOrderAndTheLogTellsOfIt) {
    startEngine(json::array());
    const auto told = [&](const std::string& question) {
        Lines lines;
        std::string reply;
        assistant.turn(
            reply, question, [&](const std::string& sentence) { lines.push_back("say " + sentence); },
            [&](const std::string& line) { lines.push_back(line); }, &cancel);
        return lines;
    };
    const std::string page = web.url("/page");
    const std::string last = "say So it is done.";
    EXPECT_EQ(told("Read " + page), (Lines{"say Let me read that.", "Reading " + page, "Thinking...", last}));
    EXPECT_EQ(told("The forecast for Paris"),
              (Lines{"Checking the weather...", "say Let me check.", "Thinking...", last}));
    EXPECT_EQ(lastRequest()["messages"].back()["tool_call_id"], "pre_wx");
    EXPECT_EQ(told("Who won in 2024"),
              (Lines{"Searching the web: Who won in 2024", "say Let me look that up.", "Thinking...", last}));
    EXPECT_EQ(lastRequest()["messages"].back()["tool_call_id"], "pre_search");
    std::string log;
    ASSERT_TRUE(readWholeFile(joinPath(dataFolder(), "velu.log"), log));
    for (const std::string& line :
         {"url-fetch " + page + " -> 56 chars", std::string("weather(Paris) -> 108 chars"),
          "pre-search 'Who won in 2024' -> " + std::to_string(std::string(resultText).size()) + " chars"}) {
        EXPECT_NE(log.find(line + "\n"), std::string::npos) << log;
    }
}

TEST_F(ToolTurnTest, FacesAreOfferedOnceTheyCanBeLearnt) {
    EXPECT_EQ(assistant.toolSchemas().size(), 8u);
    assistant.learnFace = [](const std::string& name) { return "Learnt " + name + "."; };
    EXPECT_EQ(assistant.toolSchemas().size(), 9u);
    EXPECT_EQ(resultOf("learn_face", {{"name", "Ada"}}), "Learnt Ada.");
    // What is called runs, whatever was offered.
    Settings::instance().webResearch = false;
    EXPECT_EQ(resultOf("web_search", {{"query", "tea"}}), resultText);
}

TEST_F(ToolTurnTest, AServiceThatAnswersNonsenseCostsNobodyTheTurn) {
    startEngine({{{"name", "get_weather"}, {"arguments", {{"place", "Paris"}}}}});
    for (const char* body : {R"({"current":{"temperature_2m":"warm"}})", R"({"current":null})",
                             R"({"current":[]})", R"({"current":{},"daily":5})"}) {
        forecast = body;
        assistant.memory.history.clear();
        EXPECT_EQ(ask("Is it raining in Paris?"), "So it is done.") << body;
        EXPECT_EQ(lastRequest()["messages"].back()["content"].get<std::string>().rfind("Error: ", 0), 0u)
            << body;
        EXPECT_EQ(ask("go"), "So it is done.") << body;
        EXPECT_EQ(lastRequest()["messages"].back()["content"].get<std::string>().rfind("Error: ", 0), 0u)
            << body;
    }
}

TEST_F(ToolTurnTest, ACancelLeavesARunningLookUp) {
    startEngine(json::array());
    hold = std::make_shared<Gate>();  // never opened
    const std::string questions[] = {"Search for tea", "How is the weather in Paris?",
                                     "Read " + web.url("/page")};
    size_t requests = 0;
    for (const std::string& question : questions) {
        cancel = false;
        uint64_t setAt = 0;
        std::thread canceller([&] {
            // The request counts as come when its answer is held back.
            EXPECT_TRUE(web.waitForRequests(requests + 1));
            setAt = tickCount();
            cancel = true;
        });
        EXPECT_EQ(ask(question), "");
        const uint64_t endedAt = tickCount();
        canceller.join();
        EXPECT_LT(endedAt - setAt, 2000u) << "long before the request would have timed out";
        // What is still to come of the turn doesn't wait for anybody either.
        const uint64_t before = tickCount();
        assistant.dispatchTool(
            "read_webpage", {{"url", web.url("/page")}}, [](const std::string&) {}, &cancel);
        EXPECT_LT(tickCount() - before, 2000u);
        requests = web.requests().size();
    }
    EXPECT_FALSE(isFile(joinPath(engineFolder(false), "requests.jsonl"))) << "the model was never asked";
}

TEST_F(ToolTurnTest, RemindersComeDueInTheOrderOfTheirSetting) {
    const StatusFn quiet = [](const std::string&) {};
    const uint64_t before = tickCount();
    assistant.dispatchTool("set_timer", {{"minutes", 2}, {"label", "later"}}, quiet, &cancel);
    assistant.dispatchTool("set_timer", {{"minutes", 1}}, quiet, &cancel);
    assistant.dispatchTool("set_timer", {{"minutes", 1}, {"label", "tea"}}, quiet, &cancel);
    const uint64_t after = tickCount();
    EXPECT_EQ(assistant.takeDueReminders(before + 59999), Lines{});
    EXPECT_EQ(assistant.takeDueReminders(after + 60000), (Lines{"Time's up", "tea"}));
    EXPECT_EQ(assistant.takeDueReminders(after + 60000), Lines{});
    EXPECT_EQ(assistant.takeDueReminders(after + 120000), Lines{"later"});
}

TEST_F(ToolTurnTest, OpensALinkAsOneArgumentOrNotAtAll) {
    const TemporaryFolder folder;
    const StatusFn quiet = [](const std::string&) {};
    const std::string opened = joinPath(folder.path, "opened");
    const std::string url = "https://example.org/?a=1&b=$(touch x);'\"`c` d";
    setenv("PATH", folder.path.c_str(), 1);
    EXPECT_EQ(assistant.dispatchTool("open_url", {{"url", url}}, quiet, &cancel), "Opened.")
        << "with no opener";

    const std::string program = joinPath(folder.path, "xdg-open");
    writeWholeFile(program, "#!/bin/sh\nprintf '%s\\n' \"$#\" \"$1\" > '" + opened + ".new'\n/bin/mv '" +
                                opened + ".new' '" + opened + "'\n");
    chmod(program.c_str(), 0755);
    EXPECT_EQ(assistant.dispatchTool("open_url", {{"url", url}}, quiet, &cancel), "Opened.");
    for (int i = 0; i < 1000 && !isFile(opened); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    std::string arguments;
    ASSERT_TRUE(readWholeFile(opened, arguments));
    EXPECT_EQ(arguments, "1\n" + url + "\n");
}

}  // namespace
