#pragma once

#include <string>
#include <string_view>

// What becomes of the speech bubble's texts, all UTF-8. Threads: any.

/// The question in what was typed: of its first 2048 UTF-16 units, what is left without blanks and tabs at
/// both ends. A character that the cut would split is left out.
std::string typedQuestion(std::string_view typed);

/// The text, or the newest part of one that has grown so long that laying it out would take ever more time;
/// the panel shows a fraction of that.
std::string newestPart(std::string text);
