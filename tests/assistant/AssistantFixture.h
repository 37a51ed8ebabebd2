#pragma once

#include <deque>
#include <mutex>
#include <nlohmann/json.hpp>

#include "assistant/Assistant.h"
#include "assistant/WebFixture.h"
#include "support/TestData.h"

const char* const resultPage =
    R"(<a class="result__a" href="https://one.example/">One</a><a class="result__snippet">First.</a>)";
const std::string resultText = "1. One\n   https://one.example/\n   First.\n";
const std::string pageText = "A page with quite enough text in it to be worth reading.";

inline std::string contentEvent(const std::string& text) {
    return "data: " + nlohmann::json({{"choices", {{{"delta", {{"content", text}}}}}}}).dump() + "\n\n";
}

inline std::string callEvent(int index, const std::string& id, const std::string& name,
                             const std::string& arguments) {
    const nlohmann::json call = {
        {"index", index}, {"id", id}, {"function", {{"name", name}, {"arguments", arguments}}}};
    return "data: " + nlohmann::json({{"choices", {{{"delta", {{"tool_calls", {call}}}}}}}}).dump() + "\n\n";
}

inline Reply stream(const std::string& events) {
    Reply reply = makeReply(200, events + "data: [DONE]\n\n", "text/event-stream");
    reply.framing = Framing::chunked;
    return reply;
}

/// An assistant, and its model on a loopback server.
class AssistantFixture : public WebFixture {
protected:
    AssistantFixture() {
        brain.port = model.port;
        answers = {{"/html/", makeReply(200, resultPage)},
                   {"/v1/search?count=5&language=en&name=Paris", makeReply(200, readTestData("places.json"))},
                   {"/v1/forecast", makeReply(200, R"({"current":{"temperature_2m":61.4,
                        "apparent_temperature":59.6,"weather_code":3,"wind_speed_10m":7.2}})")},
                   {"/page", makeReply(200, "<p>" + pageText + "</p>")}};
        assistant.user.choices = [this] { return choices; };
        assistant.user.keepPlace = [this](const Place& place, PlaceLifetime) { choices.place = place; };
    }

    /// Takes the next of `replies`. Once they are used up, a tool's result is answered with "So it is done."
    /// and everything else with "Here is what I know."
    Reply modelAnswer(const Received& received) {
        const std::lock_guard guard(mutex);
        if (replies.empty()) {
            const auto request = nlohmann::json::parse(received.body);
            const bool isResult = request["messages"].back()["role"] == "tool";
            return stream(contentEvent(isResult ? "So it is done." : "Here is what I know."));
        }
        Reply next = replies.front();
        replies.pop_front();
        return next;
    }

    /// Sets what the model answers next.
    void willAnswer(std::deque<Reply> next) {
        const std::lock_guard guard(mutex);
        replies = std::move(next);
    }

    /// Asks one question. `told` receives all that is said, behind "say ", and shown.
    std::string ask(const std::string& question) {
        told.clear();
        std::string reply = "left over";
        assistant.turn(
            reply, question,
            [this](const std::string& sentence) {
                told.push_back("say " + sentence);
                if (cancelsAtSentence) cancel = true;
            },
            [this](const std::string& line) { told.push_back(line); }, &cancel);
        return reply;
    }

    /// The body of the model's n-th request.
    nlohmann::json request(size_t index) const {
        return nlohmann::json::parse(model.requests().at(index).body);
    }

    /// The messages of the model's newest request.
    nlohmann::json messages() const { return request(model.requests().size() - 1)["messages"]; }

    std::mutex mutex;
    std::deque<Reply> replies;  ///< guarded by `mutex`: the server's threads take them
    LoopbackServer model{[this](const Received& received) { return modelAnswer(received); }};
    Brain brain;
    Assistant assistant{brain, endpoints};
    UserChoices choices;
    bool cancelsAtSentence = false;
    Lines told;
};
