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

class ToolTurnTest : public AssistantFixture {
protected:
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

TEST_F(ToolTurnTest, OfALongPageTheModelGetsWhatTheQuestionIsAbout) {
    const json arguments = {{"url", server.url("/long")}};
    answers["/long"] = makeReply(200, longPage());
    const auto holdsAnswer = [this] { return newest().find("Giraffes sleep") != std::string::npos; };
    ask("How long do giraffes sleep? See " + server.url("/long"));
    EXPECT_TRUE(holdsAnswer());
    for (const auto& [question, isFound] : {std::pair{"Tell of giraffes", true}, {"Tell of hares", false}}) {
        willAnswer({stream(callEvent(0, "x", "read_webpage", arguments.dump()))});
        ask(question);
        EXPECT_EQ(holdsAnswer(), isFound) << question;
    }
}

TEST_F(ToolTurnTest, FacesAreOfferedOnceTheyCanBeLearnt) {
    EXPECT_EQ(assistant.toolSchemas().size(), 8u);
    assistant.learnFace = [](const std::string& name) { return "Learnt " + name + "."; };
    EXPECT_EQ(assistant.toolSchemas().size(), 9u);
    EXPECT_EQ(call("learn_face", {{"name", "Ada"}}), "Learnt Ada.");
    choices.webResearch = false;
    EXPECT_EQ(assistant.toolSchemas().size(), 7u);
    EXPECT_EQ(call("web_search", {{"query", "tea"}}), resultText) << "a call runs, whatever was offered";
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
