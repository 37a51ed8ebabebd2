#pragma once

#include <cstdint>

/// Compiles and links the head's shaders in the current GL context, with `HeadConstants` at binding point 0
/// and the texture at unit 0. Returns 0 on failure; the log then has the compiler's message.
[[nodiscard]] uint32_t buildHeadProgram();
