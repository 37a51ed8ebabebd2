#pragma once

#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

/// Reads the server-sent event stream of a chat completion as it arrives: collects the text, passes each
/// piece on, and assembles tool calls from their fragments. Drops events of an unknown form. Threads: one.
class ChatStream {
public:
    explicit ChatStream(std::function<void(const std::string&)> onDelta) : onDelta(std::move(onDelta)) {}

    /// Reads the next bytes of the stream, which may end anywhere.
    void feed(std::string_view bytes);

    /// Returns the assembled calls in index order, as an array of objects with "id", "name" and "arguments"
    /// (always an object). Leaves out calls without a name.
    [[nodiscard]] nlohmann::json toolCalls() const;

    std::string text;         ///< all content so far
    std::string rawResponse;  ///< the beginning of the stream, for people to read

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
    std::string lineBuffer;                           ///< the incomplete line
    std::vector<PartialCall> partialCalls;
};
