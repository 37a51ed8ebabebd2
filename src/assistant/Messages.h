#pragma once

#include <nlohmann/json.hpp>
#include <string>

// The entries of a conversation as the language-model server takes them. Text that isn't UTF-8 is repaired on
// its way in.

/// A plain message; `role` is "system", "user" or "assistant".
nlohmann::json plainMessage(const std::string& role, const std::string& content);

/// The assistant's message that asks for tools; `calls` is an array of {"id", "name", "arguments"}.
nlohmann::json messageWithCalls(const std::string& content, const nlohmann::json& calls);

/// What the tool call `id` brought.
nlohmann::json toolResult(const std::string& id, const std::string& content);
