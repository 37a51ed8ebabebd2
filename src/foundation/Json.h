#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>

// Reading JSON that comes from outside: nothing here throws. Threads: everything here may be called from any
// thread.

/// Parses the text. Returns a discarded value for text that isn't JSON or is nested deeper than 64 levels:
/// nothing that we read has more than a few levels, and copying or writing deep values overflows the stack.
/// Takes time in proportion to the text.
nlohmann::json parseJson(std::string_view text);

// Look-ups of one type at a key of an object. A missing key, a value of another type and an `object` that
// isn't an object all count as "not there". A pointer or reference lives as long as `object`.

/// Returns null when there is no string.
const std::string* stringAt(const nlohmann::json& object, const char* key);

/// Returns an empty text when there is no string.
std::string textAt(const nlohmann::json& object, const char* key);

std::optional<double> numberAt(const nlohmann::json& object, const char* key);
std::optional<bool> boolAt(const nlohmann::json& object, const char* key);

/// Returns an empty array when there is none.
const nlohmann::json& arrayAt(const nlohmann::json& object, const char* key);

/// Returns an empty object when there is none.
const nlohmann::json& objectAt(const nlohmann::json& object, const char* key);
