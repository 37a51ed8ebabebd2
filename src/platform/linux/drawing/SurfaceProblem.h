#pragma once

#include <cstdint>
#include <string>

/// A log line from the platform's words and the number that the system gave as the reason.
std::string surfaceProblem(const char* words, uint32_t number);
