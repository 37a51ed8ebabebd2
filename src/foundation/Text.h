#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Threads: everything here may be called from any thread.

/// The text with every byte sequence that isn't UTF-8 (cut, overlong, a surrogate, beyond U+10FFFF) replaced
/// by U+FFFD, one for each maximal prefix of a character. Valid text comes back unchanged.
std::string repairUtf8(std::string text);

/// At most `maxBytes` bytes of the text's beginning. A character that the cut would split is left out whole,
/// so that valid text stays valid.
std::string cutUtf8(std::string text, size_t maxBytes);

/// ASCII letters folded to lower case, all other bytes as they are.
std::string toLowerAscii(std::string text);

/// The text without the bytes of `blanks` at both its ends.
std::string_view trimmed(std::string_view text, std::string_view blanks = " \n\r\t");
