#pragma once

#include <string>
#include <string_view>

// The encodings of text in addresses. Threads: everything here may be called from any thread.

/// Encodes a query value: ASCII letters, digits and "-._~" stay, a space becomes "+", everything else
/// "%XX".
std::string formEncode(std::string_view text);

/// Decodes "%XX" and "+". A "%" without two hex digits is kept as is.
std::string percentDecode(std::string_view text);

/// Decodes Base64 of the URL-safe or the standard alphabet; any other byte, padding included, is skipped.
std::string base64UrlDecode(std::string_view text);
