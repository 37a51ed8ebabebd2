#pragma once

#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>

/// Ends the process when something that must hold for every input doesn't; the fuzzer then keeps the input.
inline void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "violated: %s\n", what);
    std::abort();
}

/// Whether the text is UTF-8, by the judgement of a library that refuses to serialise anything else.
inline bool isUtf8(const std::string& text) {
    try {
        (void)nlohmann::json(text).dump();
        return true;
    } catch (const nlohmann::json::type_error&) {
        return false;
    }
}
