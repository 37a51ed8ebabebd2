#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "foundation/Callbacks.h"

struct ChatResult;  // of ChatResult.h, which only those who make a request need

/// A client of the language-model server on a loopback port. It neither starts the server nor retries.
/// Threads: any; the calls are independent.
class ChatClient {
public:
    explicit ChatClient(int32_t serverPort) : port(serverPort) {}

    /// Posts one chat completion and blocks until the server closes the stream, `cancel` becomes true or the
    /// connection fails. `onDelta` (may be empty) gets each non-empty piece of text on the calling thread as
    /// it arrives. If `tools` is null or empty, neither tools nor `toolChoice` are sent.
    ///
    /// Writes the request to "last-request.json" and the beginning of the answer to "last-response.txt" in
    /// the data folder, for people to read.
    ChatResult chat(const nlohmann::json& messages, const nlohmann::json& tools, int32_t maxTokens,
                    const std::function<void(const std::string&)>& onDelta, CancelFlag* cancel,
                    const std::string& toolChoice) const;

    int32_t port;
};
