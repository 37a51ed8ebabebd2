#pragma once

#include <ctime>
#include <string>

/// Formats a local time by a strftime pattern, with English names whatever the locale. Threads: any.
std::string formatTime(const std::tm& time, const char* pattern);
