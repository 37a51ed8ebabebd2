#include "foundation/Log.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <string>

#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "foundation/Text.h"
#include "platform/system.h"

void logLine(const char* format, ...) {
    static std::mutex mutex;
    char text[2048];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);

    std::string line = repairUtf8(text);  // the cut may have split a character
    // A text from elsewhere must not be able to write lines of its own.
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');

    const std::scoped_lock lock(mutex);
    debugOutput(line.c_str());
    debugOutput("\n");
    const std::tm now = localTime(std::time(nullptr));
    char stamp[16];
    std::snprintf(stamp, sizeof stamp, "%02d:%02d:%02d ", now.tm_hour % 100, now.tm_min % 100,
                  now.tm_sec % 100);
    appendOutputLine(joinPath(dataFolder(), "velu.log"), stamp + line + "\n");
}
