#include "support/ReplyScript.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <string_view>

#include "support/StandIn.h"

using nlohmann::json;

namespace {

/// Cuts a text into pieces of about five bytes, between characters.
std::vector<std::string> cut(std::string_view text) {
    std::vector<std::string> pieces;
    while (!text.empty()) {
        size_t size = std::min<size_t>(5, text.size());
        while (size < text.size() && (text[size] & 0xC0) == 0x80)
            ++size;
        pieces.emplace_back(text.substr(0, size));
        text.remove_prefix(size);
    }
    return pieces;
}

std::string event(const json& delta, const json& finishReason) {
    const json choice = {{"finish_reason", finishReason}, {"index", 0}, {"delta", delta}};
    const json frame = {{"choices", json::array({choice})}, {"object", "chat.completion.chunk"}};
    return "data: " + frame.dump(-1, ' ', false, json::error_handler_t::replace) + "\n\n";
}

/// Returns the text of a message; empty when it has none, as beside tool calls.
std::string contentOf(const json& message) {
    const auto content = message.find("content");
    return content != message.end() && content->is_string() ? content->get<std::string>() : "";
}

/// What is said without a script. Every reply tells that no language model has written it.
ScriptedReply demoReplyTo(const json& request) {
    struct Demo {
        std::vector<std::string> words;  ///< each of them calls for the text
        const char* text;
    };
    static const std::vector<Demo> demos = {
        {{"time", "clock"}, "The stand-in looks at the clock. "},
        {{"who", "name", "yourself"},
         "I am a stand-in: a small program that answers where Velu's language model would. The real one "
         "comes when Velu is started without the demo."},
        {{"hello", "hi", "hey", "morning", "evening"},
         "Hello! I am only a stand-in for the language model, so I can't think. But this is how a reply of "
         "Velu looks and sounds."},
        {{"thanks", "thank"}, "You are welcome, says the stand-in. No language model was bothered for this."},
        {{"bye", "goodbye", "night"},
         "Goodbye from the stand-in! Next time the real language model may be here."},
        {{"joke", "funny"},
         "Why did the stand-in cross the road? It was in the script. A real language model would know a "
         "better one."}};

    const json& messages = request.at("messages");
    ScriptedReply reply;
    const json newest = messages.empty() ? json::object() : messages.back();
    if (newest.value("role", "") == "tool") {
        reply.text =
            "I am only a stand-in for the language model, but I can pass on what the tool has told me: " +
            contentOf(newest).substr(0, 160);
        return reply;
    }
    std::string words = " ";
    for (const char c : contentOf(newest))
        words += std::isalpha(static_cast<unsigned char>(c)) != 0 ? static_cast<char>(c | 0x20) : ' ';
    words += " ";
    for (const Demo& demo : demos) {
        const bool isMeant = std::any_of(demo.words.begin(), demo.words.end(), [&](const std::string& word) {
            return words.find(" " + word + " ") != std::string::npos;
        });
        if (!isMeant) continue;
        reply.text = demo.text;
        if (&demo == &demos.front() && !request.value("tools", json::array()).empty())
            reply.calls = {{"get_datetime", "{}"}};
        return reply;
    }
    reply.text =
        "I heard you, but I am only a stand-in for the language model and have a handful of sentences. "
        "Try hello, who are you, what time is it, or a joke.";
    return reply;
}

}  // namespace

ScriptedReply::ScriptedReply(const json& object)
    : when(object.value("when", "")),
      role(object.value("role", "")),
      text(object.value("text", "")),
      pieceMs(object.value("pieceMs", 0)) {
    checkKeys(object, {"when", "role", "text", "calls", "pieceMs"});
    for (const json& call : object.value("calls", json::array())) {
        checkKeys(call, {"name", "arguments"});
        const json arguments = call.value("arguments", json::object());
        calls.push_back(
            {call.at("name"), arguments.is_string() ? arguments.get<std::string>() : arguments.dump()});
    }
}

std::vector<std::string> ScriptedReply::pieces(const json& request) const {
    std::vector<std::string> events;
    const auto add = [&](const json& delta) { events.push_back(event(delta, nullptr)); };
    for (const std::string& piece : cut(text))
        add({{"content", piece}});
    for (size_t i = 0; i < calls.size(); ++i) {
        const auto fragment = [i](json fields) {
            fields["index"] = i;
            return json{{"tool_calls", json::array({fields})}};
        };
        // The id and the name come first, then the arguments.
        add(fragment({{"id", "id" + std::to_string(i)}, {"function", {{"name", calls[i].name}}}}));
        for (const std::string& piece : cut(calls[i].arguments))
            add(fragment({{"function", {{"arguments", piece}}}}));
    }
    events.resize(std::min(events.size(), request.value("max_tokens", events.size())));
    // The real server sends the role together with the first piece.
    if (!events.empty())
        events[0] = event({{"role", "assistant"}, {"content", nullptr}}, nullptr) + events[0];
    return events;
}

std::string ScriptedReply::ending() const {
    return event(json::object(), calls.empty() ? "stop" : "tool_calls") + "data: [DONE]\n\n";
}

ReplyScript::ReplyScript(const json& script)
    : loadMs(script.value("loadMs", 0)),
      exitWhileLoading(script.value("exitWhileLoading", 0)),
      neverReady(script.value("neverReady", false)) {
    checkKeys(script, {"loadMs", "exitWhileLoading", "neverReady", "replies", "default"});
    for (const json& reply : script.value("replies", json::array()))
        replies.emplace_back(reply);
    if (script.contains("default")) replies.emplace_back(script["default"]);
}

ScriptedReply ReplyScript::replyTo(const json& request) const {
    const json& messages = request.at("messages");
    const json newest = messages.empty() ? json::object() : messages.back();
    const std::string content = contentOf(newest);
    const std::string role = newest.value("role", "");
    for (const ScriptedReply& reply : replies) {
        if ((reply.role.empty() || reply.role == role) && content.find(reply.when) != std::string::npos)
            return reply;
    }
    return demoReplyTo(request);
}
