#include "assistant/ChatMessage.h"

#include <nlohmann/json.hpp>

#include "foundation/Text.h"

using nlohmann::json;

json plainMessage(const std::string& role, const std::string& content) {
    return {{"role", role}, {"content", repairUtf8(content)}};
}

json messageWithCalls(const std::string& content, const json& calls) {
    json toolCalls = json::array();
    for (const json& call : calls) {
        // The server wants the arguments as text, not as an object.
        std::string arguments = call["arguments"].dump(-1, ' ', false, json::error_handler_t::replace);
        toolCalls.push_back({{"id", call["id"]},
                             {"type", "function"},
                             {"function", {{"name", call["name"]}, {"arguments", std::move(arguments)}}}});
    }
    json message = plainMessage("assistant", content);
    message["tool_calls"] = std::move(toolCalls);
    return message;
}

json toolResult(const std::string& id, const std::string& content) {
    return {{"role", "tool"}, {"tool_call_id", id}, {"content", repairUtf8(content)}};
}

void appendToolExchange(json& messages, const std::string& id, const char* name, const json& arguments,
                        const std::string& result) {
    messages.push_back(
        messageWithCalls("", json::array({{{"id", id}, {"name", name}, {"arguments", arguments}}})));
    messages.push_back(toolResult(id, result));
}
