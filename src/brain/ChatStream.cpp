#include "brain/ChatStream.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "foundation/Json.h"

using nlohmann::json;

namespace {

constexpr size_t rawResponseCap = 200000;  // bytes
constexpr size_t mostCalls = 64;  // more than a reply of 400 tokens holds; a wild index takes no memory

constexpr size_t longestLine = 1 << 20;  // bytes; an event is some hundred

/// The string at `key`, or null.
const std::string* stringAt(const json& object, const char* key) {
    const auto value = object.find(key);
    return value == object.end() ? nullptr : value->get_ptr<const std::string*>();
}

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
    if (!event.is_object()) return;
    const auto choices = event.find("choices");
    if (choices == event.end() || !choices->is_array() || choices->empty()) return;
    const json& choice = choices->front();
    if (!choice.is_object()) return;
    if (const auto delta = choice.find("delta"); delta != choice.end() && delta->is_object())
        readDelta(*delta);
}

void ChatStream::readDelta(const json& delta) {
    if (const std::string* content = stringAt(delta, "content"); content != nullptr && !content->empty()) {
        text += *content;
        if (onDelta) onDelta(*content);
    }
    const auto fragments = delta.find("tool_calls");
    if (fragments == delta.end() || !fragments->is_array()) return;
    for (const json& fragment : *fragments) {
        if (fragment.is_object()) readFragment(fragment);
    }
}

void ChatStream::readFragment(const json& fragment) {
    size_t index = 0;
    if (const auto value = fragment.find("index"); value != fragment.end()) {
        const double number = value->is_number() ? value->get<double>() : -1;
        if (!(number >= 0 && number < mostCalls)) return;
        index = static_cast<size_t>(number);
    }
    if (partialCalls.size() <= index) partialCalls.resize(index + 1);
    PartialCall& call = partialCalls[index];
    if (const std::string* id = stringAt(fragment, "id")) call.id = *id;
    const auto function = fragment.find("function");
    if (function == fragment.end() || !function->is_object()) return;
    if (const std::string* name = stringAt(*function, "name")) call.name += *name;
    if (const std::string* args = stringAt(*function, "arguments")) call.args += *args;
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
