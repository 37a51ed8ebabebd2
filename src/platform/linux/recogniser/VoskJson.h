#pragma once

#include <string>
#include <string_view>
#include <vector>

// The JSON that libvosk takes and returns. Threads: any.

/// Returns the grammar of a recogniser for these phrases: an array of strings.
std::string voskGrammar(const std::vector<std::string>& phrases);

/// Returns the words of a result: the string under "partial", or else the one under "text". Returns an empty
/// text for anything else, such as text that isn't JSON.
std::string wordsOfVoskResult(std::string_view json);
