#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Threads: everything here may be called from any thread.

/// The text with every byte sequence that isn't UTF-8 (cut, overlong, a surrogate, beyond U+10FFFF) replaced
/// by U+FFFD, one for each maximal prefix of a character. Valid text comes back unchanged.
std::string repairUtf8(std::string text);

/// The bytes of a character by its lead byte; 1 for a byte that can't lead one.
size_t characterLength(char lead);

/// Whether the byte is a character's second or later one.
bool isInsideCharacter(char byte);

/// At most `maxBytes` bytes of the text's beginning. A character that the cut would split is left out whole,
/// so that valid text stays valid.
std::string cutUtf8(std::string text, size_t maxBytes);

/// At most `maxUnits` UTF-16 units of the text's beginning: how desktops count the length of what is typed.
/// No character is split.
std::string_view cutToUnits(std::string_view text, size_t maxUnits);

/// ASCII letters folded to lower case, all other bytes as they are.
std::string toLowerAscii(std::string text);

/// The text without the bytes of `blanks` at both its ends.
std::string_view trimmed(std::string_view text, std::string_view blanks = " \n\r\t");
