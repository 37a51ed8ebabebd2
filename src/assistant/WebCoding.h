#pragma once

#include <string>
#include <string_view>

// How text travels in addresses. Threads: any.

/// Form encoding of a query value: ASCII letters, digits and "-._~" stay, a blank becomes "+", the rest
/// "%XX".
std::string formEncode(std::string_view text);

/// The reverse. A "%" without two hex digits behind it stays.
std::string percentDecode(std::string_view text);

/// Base64 with the URL-safe or the standard alphabet; any other byte, padding included, is skipped.
std::string base64UrlDecode(std::string_view text);
