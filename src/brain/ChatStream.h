#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

/// Reads the server-sent event stream of a chat completion as it arrives: collects the text, hands each piece
/// on, and assembles tool calls out of their fragments. Events that it can't make sense of are dropped.
/// Threads: one.
class ChatStream {
public:
    explicit ChatStream(std::function<void(const std::string&)> onDelta) : onDelta(std::move(onDelta)) {}

    /// Takes the next bytes of the stream, however they are cut.
    void feed(std::string_view bytes);

    /// The assembled calls, in index order, as an array of objects with "id", "name" and "arguments" (always
    /// an object). A call that never got a name is left out.
    [[nodiscard]] nlohmann::json toolCalls() const;

    std::string text;         ///< all content so far
    std::string rawResponse;  ///< the stream's beginning as it came, for a person to look at

private:
    struct PartialCall {
        std::string id;
        std::string name;
        std::string args;
    };

    void readLine(std::string_view line);
    void readDelta(const nlohmann::json& delta);
    void readFragment(const nlohmann::json& fragment);

    std::function<void(const std::string&)> onDelta;  ///< may be empty
    std::string lineBuffer;                           ///< the line that isn't complete yet
    std::vector<PartialCall> partialCalls;
};
