#pragma once

#include <ctime>
#include <string>

/// A local time by a strftime pattern, with English names whatever the desktop's language. Threads: any.
std::string formatTime(const std::tm& time, const char* pattern);
