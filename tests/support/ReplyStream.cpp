#include "support/ReplyStream.h"

#include <algorithm>
#include <ctime>
#include <random>
#include <string_view>
#include <utility>

using nlohmann::json;
using nlohmann::ordered_json;

namespace {

constexpr size_t pieceBytes = 5;

/// Cuts a text into pieces of about five bytes, between characters.
std::vector<std::string> piecesOf(std::string_view text) {
    std::vector<std::string> pieces;
    while (!text.empty()) {
        size_t size = std::min(pieceBytes, text.size());
        while (size < text.size() && (text[size] & 0xC0) == 0x80)
            size++;
        pieces.emplace_back(text.substr(0, size));
        text.remove_prefix(size);
    }
    return pieces;
}

std::string randomId() {
    static const std::string_view letters = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    std::random_device random;
    std::string id;
    while (id.size() < 32)
        id += letters[random() % letters.size()];
    return id;
}

ordered_json callDelta(ordered_json call) {
    return {{"tool_calls", ordered_json::array({std::move(call)})}};
}

/// The deltas of one tool call: the first names it and has the first byte of its arguments.
void appendCall(std::vector<ordered_json>& deltas, const ScriptedCall& call, size_t index) {
    size_t head = std::min<size_t>(1, call.arguments.size());
    while (head < call.arguments.size() && (call.arguments[head] & 0xC0) == 0x80)
        head++;
    deltas.push_back(
        callDelta({{"index", index},
                   {"id", randomId()},
                   {"type", "function"},
                   {"function", {{"name", call.name}, {"arguments", call.arguments.substr(0, head)}}}}));
    for (const std::string& piece : piecesOf(std::string_view(call.arguments).substr(head))) {
        deltas.push_back(callDelta({{"index", index}, {"function", {{"arguments", piece}}}}));
    }
}

/// What the server says of its speed. Nothing is computed here, so the times are made up.
ordered_json timings(int32_t promptTokens, size_t pieceCount) {
    double count = static_cast<double>(pieceCount);
    double tokenMs = pieceCount == 0 ? 0.0 : 5.0;
    return {{"cache_n", 0},
            {"prompt_n", promptTokens},
            {"prompt_ms", promptTokens * 0.05},
            {"prompt_per_token_ms", 0.05},
            {"prompt_per_second", 20000.0},
            {"predicted_n", pieceCount + 1},
            {"predicted_ms", count * tokenMs},
            {"predicted_per_token_ms", tokenMs},
            {"predicted_per_second", pieceCount == 0 ? 0.0 : 200.0}};
}

}  // namespace

ReplyStream::ReplyStream(const ScriptedReply& reply, const json& request, const std::string& modelPath,
                         int32_t promptTokens) {
    std::vector<ordered_json> deltas;
    for (const std::string& piece : piecesOf(reply.text))
        deltas.push_back({{"content", piece}});
    for (size_t i = 0; i < reply.calls.size(); i++)
        appendCall(deltas, reply.calls[i], i);

    std::string finish = reply.calls.empty() ? "stop" : "tool_calls";
    int64_t limit = request.value("max_tokens", int64_t{-1});
    if (limit >= 0 && deltas.size() > static_cast<size_t>(limit)) {
        deltas.resize(static_cast<size_t>(limit));
        finish = "length";
    }

    ordered_json frame = {
        {"choices", nullptr}, {"created", std::time(nullptr)},    {"id", "chatcmpl-" + randomId()},
        {"model", modelPath}, {"system_fingerprint", "stand-in"}, {"object", "chat.completion.chunk"}};
    auto event = [&frame](const ordered_json& delta, const ordered_json& finishReason) {
        frame["choices"] =
            ordered_json::array({{{"finish_reason", finishReason}, {"index", 0}, {"delta", delta}}});
        return "data: " + frame.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + "\n\n";
    };
    opening = event({{"role", "assistant"}, {"content", nullptr}}, nullptr);
    for (const ordered_json& delta : deltas)
        pieces.push_back(event(delta, nullptr));
    frame["timings"] = timings(promptTokens, pieces.size());
    closing = event(ordered_json::object(), finish);
    done = "data: [DONE]\n\n";
}
