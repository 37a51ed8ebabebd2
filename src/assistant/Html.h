#pragma once

#include <string>
#include <string_view>

// From a web page to plain text. Bytes are taken as UTF-8 and only ASCII is treated specially; whatever the
// input, the time taken is proportional to its length. Threads: all functions may be called from any.

/// Returns the plain text of an HTML page or fragment, without scripts, styles, menus, forms, comments. Block
/// tags end a line, other tags separate words, entities are decoded. It has no run of blanks, and at most
/// one empty line in a row.
std::string htmlToText(std::string_view html);

/// Returns the text with HTML character references decoded: nine named ones that matter in plain text, and
/// the numeric ones. A number that is no character becomes U+FFFD; anything else is kept as written.
std::string decodeEntities(std::string_view text);

/// Returns whether the text begins with "http://" or "https://", exactly so.
bool isHttpUrl(std::string_view text);
