#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Threads: everything here may be called from any thread.

/// Returns the text with every sequence that isn't UTF-8 (cut, overlong, a surrogate, beyond U+10FFFF)
/// replaced by U+FFFD, one for each maximal prefix of a character. Valid text is returned unchanged.
std::string repairUtf8(std::string text);

/// Returns a character's length in bytes by its lead byte; 1 for a byte that can't lead one.
size_t characterLength(char lead);

/// Returns whether the byte is a character's second or later one.
bool isInsideCharacter(char byte);

/// Returns at most `maxBytes` bytes of the text's beginning. A character that the cut would split is omitted,
/// so that valid text stays valid.
std::string cutUtf8(std::string text, size_t maxBytes);

/// Returns at most `maxUnits` UTF-16 units of the text's beginning, the units in which edit fields limit
/// their text. No character is split.
std::string_view cutToUnits(std::string_view text, size_t maxUnits);

/// Returns the text with ASCII letters in lower case and all other bytes unchanged.
std::string toLowerAscii(std::string text);

/// Returns the text without the bytes of `blanks` at either end.
std::string_view trimmed(std::string_view text, std::string_view blanks = " \n\r\t");
