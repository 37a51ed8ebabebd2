#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

// The entries of a conversation in the form that the language-model server takes. Text that isn't UTF-8 is
// repaired on its way in. Threads: everything here may be called from any thread.

/// Returns a plain message; `role` is "system", "user" or "assistant".
nlohmann::json plainMessage(const std::string& role, const std::string& content);

/// Returns the assistant's message that asks for tools; `calls` is an array of {"id", "name", "arguments"}.
nlohmann::json messageWithCalls(const std::string& content, const nlohmann::json& calls);

/// Returns the message with the result of the tool call `id`.
nlohmann::json toolResult(const std::string& id, const std::string& content);

/// Appends a tool call and its result: to the model they look like a call that it made itself.
void appendToolExchange(nlohmann::json& messages, const std::string& id, const char* name,
                        const nlohmann::json& arguments, const std::string& result);
