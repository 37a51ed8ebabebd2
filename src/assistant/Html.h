#pragma once

#include <string>
#include <string_view>

// From a web page to plain text. Bytes are taken as UTF-8 and only ASCII is treated specially; whatever the
// input, the time taken is proportional to its length. Threads: any.

/// The plain text of an HTML page or fragment: no scripts, styles, menus, forms, comments or tags; block tags
/// end a line, other tags separate words; entities decoded; no run of blanks and at most one empty line in a
/// row.
std::string htmlToText(std::string_view html);

/// The text with HTML character references replaced: the nine named ones that matter in plain text, and the
/// numbered ones. A number that is no character becomes U+FFFD; anything else stays as written.
std::string decodeEntities(std::string_view text);

/// True for a text that begins with "http://" or "https://", exactly so.
bool isHttpUrl(std::string_view text);
