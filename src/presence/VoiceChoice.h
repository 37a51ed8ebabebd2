#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Which of the installed voices speaks. Threads: any.

/// The voice that the user wants, by its place: the first whose description holds `name`, or, when that is
/// empty, the first that holds any of the built-in words. Nothing when there is none.
std::optional<size_t> pickVoice(const std::vector<std::string>& descriptions, std::string_view name);
