#include "support/ReplyScript.h"

#include <algorithm>
#include <set>
#include <stdexcept>
#include <utility>

using nlohmann::json;

namespace {

void checkKeys(const json& object, const std::set<std::string>& known) {
    if (!object.is_object()) throw std::runtime_error("an object is missing");
    for (const auto& [key, value] : object.items()) {
        if (known.count(key) == 0) throw std::runtime_error("unknown key \"" + key + "\"");
    }
}

std::optional<int32_t> optionalNumber(const json& object, const char* key) {
    if (!object.contains(key) || object[key].is_null()) return std::nullopt;
    return object[key].get<int32_t>();
}

ScriptedReply replyFrom(const json& object) {
    ScriptedReply reply;
    reply.text = object.value("text", "");
    reply.pieceMs = object.value("pieceMs", 0);
    reply.status = object.value("status", 200);
    reply.cutAfterPieces = optionalNumber(object, "cutAfterPieces");
    reply.dieAfterPieces = optionalNumber(object, "dieAfterPieces");
    for (const json& call : object.value("calls", json::array())) {
        checkKeys(call, {"name", "arguments"});
        json arguments = call.value("arguments", json::object());
        reply.calls.push_back(
            {call.at("name"), arguments.is_string() ? arguments.get<std::string>() : arguments.dump()});
    }
    return reply;
}

/// The text of a message; empty when it has none, as beside tool calls.
std::string contentOf(const json& message) {
    auto content = message.find("content");
    return content != message.end() && content->is_string() ? content->get<std::string>() : "";
}

std::set<std::string> wordsOf(const std::string& text) {
    std::set<std::string> words;
    std::string word;
    for (char c : text + " ") {
        if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) {
            word += static_cast<char>(c | 0x20);
        } else if (!word.empty()) {
            words.insert(std::exchange(word, ""));
        }
    }
    return words;
}

bool offersTool(const json& request, const std::string& name) {
    for (const json& tool : request.value("tools", json::array())) {
        if (tool.value(json::json_pointer("/function/name"), "") == name) return true;
    }
    return false;
}

/// At most `limit` bytes from the front, whole characters only.
std::string beginningOf(const std::string& text, size_t limit) {
    if (text.size() <= limit) return text;
    while (limit > 0 && (text[limit] & 0xC0) == 0x80)
        limit--;
    return text.substr(0, limit) + "...";
}

}  // namespace

bool ReplyScript::read(const std::string& text, std::string& error) {
    try {
        json script = json::parse(text);
        checkKeys(script, {"loadMs", "exitWhileLoading", "neverReady", "replies", "default"});
        loadMs = script.value("loadMs", 0);
        exitWhileLoading = optionalNumber(script, "exitWhileLoading");
        neverReady = script.value("neverReady", false);
        for (const json& rule : script.value("replies", json::array())) {
            checkKeys(rule, {"when", "role", "text", "calls", "pieceMs", "status", "cutAfterPieces",
                             "dieAfterPieces"});
            replies.push_back({rule.value("when", ""), rule.value("role", ""), replyFrom(rule)});
        }
        if (script.contains("default")) {
            checkKeys(script["default"],
                      {"text", "calls", "pieceMs", "status", "cutAfterPieces", "dieAfterPieces"});
            otherwise = replyFrom(script["default"]);
        }
        return true;
    } catch (const std::exception& problem) {
        error = problem.what();
        return false;
    }
}

ScriptedReply ReplyScript::replyTo(const json& request) const {
    const json& messages = request.at("messages");
    const json newest = messages.empty() ? json::object() : messages.back();
    std::string content = contentOf(newest);
    std::string role = newest.value("role", "");
    for (const ReplyRule& rule : replies) {
        bool isRole = rule.role.empty() || rule.role == role;
        if (isRole && content.find(rule.when) != std::string::npos) return rule.reply;
    }
    return otherwise ? *otherwise : demoReplyTo(request);
}

ScriptedReply demoReplyTo(const json& request) {
    struct Demo {
        std::vector<const char*> words;  ///< any of them brings the text
        const char* text;
    };
    static const std::vector<Demo> demos = {
        {{"who", "name", "yourself"},
         "I am a stand-in: a small program that answers where Velu's language model would. The real one "
         "comes when "
         "Velu is started without the demo."},
        {{"hello", "hi", "hey", "morning", "evening"},
         "Hello! I am only a stand-in for the language model, so I can't think. But this is how a reply of "
         "Velu "
         "looks and sounds."},
        {{"thanks", "thank"}, "You are welcome, says the stand-in. No language model was bothered for this."},
        {{"bye", "goodbye", "night"},
         "Goodbye from the stand-in! Next time the real language model may be here."},
        {{"joke", "funny"},
         "Why did the stand-in cross the road? It was in the script. A real language model would know a "
         "better one."},
        {{"time", "date", "day", "clock"},
         "I am only a stand-in for the language model, and nobody has given me a clock to look at."}};

    const json& messages = request.at("messages");
    ScriptedReply reply;
    if (!messages.empty() && messages.back().value("role", "") == "tool") {
        reply.text =
            "I am only a stand-in for the language model, but I can pass on what the tool has told me: " +
            beginningOf(contentOf(messages.back()), 160);
        return reply;
    }
    std::set<std::string> words;
    for (const json& message : messages) {
        if (message.value("role", "") == "user") words = wordsOf(contentOf(message));
    }
    auto isSaid = [&words](const char* word) { return words.count(word) != 0; };
    auto demo = std::find_if(demos.begin(), demos.end(), [&](const Demo& each) {
        return std::any_of(each.words.begin(), each.words.end(), isSaid);
    });
    if (demo == demos.end()) {
        reply.text =
            "I heard you, but I am only a stand-in for the language model and have a handful of sentences. "
            "Try hello, who are you, what time is it, or a joke.";
        return reply;
    }
    reply.text = demo->text;
    if (isSaid("time") && &*demo == &demos.back() && offersTool(request, "get_datetime")) {
        reply.text = "The stand-in looks at the clock. ";
        reply.calls = {{"get_datetime", "{}"}};
    }
    return reply;
}
