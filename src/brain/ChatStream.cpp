#include "brain/ChatStream.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "foundation/Json.h"

using nlohmann::json;

namespace {

constexpr size_t rawResponseCap = 200000;  // bytes
constexpr size_t mostCalls = 64;  // more than a reply of 400 tokens holds; a wild index takes no memory

constexpr size_t longestLine = 1 << 20;  // bytes; an event is some hundred

}  // namespace

void ChatStream::feed(std::string_view bytes) {
    if (rawResponse.size() < rawResponseCap) rawResponse.append(bytes);
    for (size_t end = 0; (end = bytes.find('\n')) != std::string_view::npos; bytes.remove_prefix(end + 1)) {
        if (lineBuffer.empty()) {
            readLine(bytes.substr(0, end));
            continue;
        }
        lineBuffer.append(bytes.substr(0, end));
        readLine(lineBuffer);
        lineBuffer.clear();
    }
    // A line that is one byte too long is dropped, however long it gets.
    lineBuffer.append(bytes.substr(0, longestLine + 1 - std::min(lineBuffer.size(), longestLine + 1)));
}

void ChatStream::readLine(std::string_view line) {
    constexpr std::string_view prefix = "data:";
    if (line.size() > longestLine) return;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.substr(0, prefix.size()) != prefix) return;
    line.remove_prefix(prefix.size());
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    if (line == "[DONE]") return;

    const json event = json::parse(line, nullptr, false);
    const json& choices = arrayAt(event, "choices");
    if (!choices.empty()) readDelta(objectAt(choices.front(), "delta"));
}

void ChatStream::readDelta(const json& delta) {
    if (const std::string* content = stringAt(delta, "content"); content != nullptr && !content->empty()) {
        text += *content;
        if (onDelta) onDelta(*content);
    }
    for (const json& fragment : arrayAt(delta, "tool_calls")) {
        if (fragment.is_object()) readFragment(fragment);
    }
}

void ChatStream::readFragment(const json& fragment) {
    size_t index = 0;
    if (fragment.contains("index")) {
        const double number = numberAt(fragment, "index").value_or(-1);
        if (!(number >= 0 && number < mostCalls)) return;
        index = static_cast<size_t>(number);
    }
    if (partialCalls.size() <= index) partialCalls.resize(index + 1);
    PartialCall& call = partialCalls[index];
    if (const std::string* id = stringAt(fragment, "id")) call.id = *id;
    const json& function = objectAt(fragment, "function");
    call.name += textAt(function, "name");
    call.args += textAt(function, "arguments");
}

json ChatStream::toolCalls() const {
    json calls = json::array();
    for (const PartialCall& call : partialCalls) {
        if (call.name.empty()) continue;
        json arguments = parseJson(call.args);
        if (!arguments.is_object()) arguments = json::object();
        std::string id = call.id.empty() ? "call_" + std::to_string(calls.size()) : call.id;
        calls.push_back({{"id", std::move(id)}, {"name", call.name}, {"arguments", std::move(arguments)}});
    }
    return calls;
}
