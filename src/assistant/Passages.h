#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// The parts of a page's text that matter to a question: all of it if that has at most `budget` bytes, else
/// the lines that hold the most words of the question, in page order, within the budget. Lines are cut at 600
/// bytes, and those of 25 bytes or fewer left out: they are menus and labels. May be empty. Threads: any.
std::string selectPassages(const std::string& text, std::string_view question, size_t budget);
