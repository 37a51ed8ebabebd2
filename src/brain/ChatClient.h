#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>

#include "foundation/Callbacks.h"

/// What a chat completion brought.
struct ChatResult {
    bool ok = false;           ///< the exchange ended well
    std::string error;         ///< why not, when `ok` is false
    std::string text;          ///< all text in order; as far as it came when `ok` is false
    nlohmann::json toolCalls;  ///< when `ok`: array of {"id", "name", "arguments"}, maybe empty
};

/// The talk to the language-model server on the loopback port. It doesn't start the server and doesn't retry.
/// Threads: any; each call stands alone.
class ChatClient {
public:
    explicit ChatClient(int32_t serverPort) : port(serverPort) {}

    /// Posts one chat completion and reads the streamed answer until the server closes the stream, the flag
    /// turns true or the transport fails; blocks that long. `onDelta` (may be empty) gets each non-empty
    /// piece of text on the calling thread, as it comes. `tools` null or empty: none are offered, and
    /// `toolChoice` isn't sent.
    ///
    /// Leaves the request in "last-request.json" and the answer's beginning in "last-response.txt" in the
    /// data folder, for a person to look at.
    ChatResult chat(const nlohmann::json& messages, const nlohmann::json& tools, int32_t maxTokens,
                    const std::function<void(const std::string&)>& onDelta, CancelFlag* cancel,
                    const std::string& toolChoice) const;

    int32_t port;
};
