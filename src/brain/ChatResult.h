#pragma once

#include <nlohmann/json.hpp>
#include <string>

/// The result of a chat completion.
struct ChatResult {
    bool ok = false;           ///< the exchange ended well
    std::string error;         ///< why not, when `ok` is false
    std::string text;          ///< all text in order; the received part of it when `ok` is false
    nlohmann::json toolCalls;  ///< when `ok`: array of {"id", "name", "arguments"}, maybe empty
};
