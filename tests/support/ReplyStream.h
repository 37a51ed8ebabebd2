#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/ReplyScript.h"

/// A reply as the server-sent events that the language-model server streams, one text for each event with the
/// blank line behind it. An event with text or with arguments counts as a piece, and stands for one token.
struct ReplyStream {
    std::string opening;              ///< names the role
    std::vector<std::string> pieces;  ///< at most as many as the request's "max_tokens"
    std::string closing;              ///< the finish reason and the timings
    std::string done;                 ///< the mark behind all events

    ReplyStream(const ScriptedReply& reply, const nlohmann::json& request, const std::string& modelPath,
                int32_t promptTokens);
};
