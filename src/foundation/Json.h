#pragma once

#include <nlohmann/json.hpp>
#include <string_view>

/// Parses JSON from outside without raising errors: what isn't JSON, or is nested deeper than 64 levels,
/// gives a discarded value. Nothing that we read goes beyond a few levels, but copying and writing deep
/// values takes a stack's worth of recursion. Takes time in proportion to the text. Threads: any.
nlohmann::json parseJson(std::string_view text);
