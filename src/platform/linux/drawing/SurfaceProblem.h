#pragma once

#include <cstdint>
#include <string>

/// Returns a log line: `words`, then the system's error number in hexadecimal.
std::string surfaceProblem(const char* words, uint32_t number);
