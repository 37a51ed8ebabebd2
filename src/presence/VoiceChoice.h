#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The choice among the installed voices. Threads: any.

/// Returns the index of the first voice whose description contains `name`, or, when `name` is empty, any of
/// the built-in words. Returns nothing when there is none.
std::optional<size_t> pickVoice(const std::vector<std::string>& descriptions, std::string_view name);
