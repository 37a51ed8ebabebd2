#pragma once

#include <string>
#include <string_view>

// The speech bubble's texts, in UTF-8. Threads: any.

/// The question in what was typed: of its first 2048 UTF-16 units, what is left without blanks and tabs at
/// both ends. A character that the cut would split is left out.
std::string typedQuestion(std::string_view typed);

/// Returns the text, or only the newest part of a very long one, whose layout would take ever more time. The
/// panel shows less than that.
std::string newestPart(std::string text);
