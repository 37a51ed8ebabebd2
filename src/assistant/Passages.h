#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Returns the parts of a page's text that matter to a question: all of it if it has at most `budget` bytes,
/// else the lines with the most words of the question, in page order, within the budget. Lines are cut at
/// 600 bytes; those of 25 bytes or fewer are left out as menus and labels. May be empty. Threads: any.
std::string selectPassages(const std::string& text, std::string_view question, size_t budget);
