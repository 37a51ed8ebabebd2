#include "foundation/LocalTime.h"

#include <iomanip>
#include <locale>
#include <sstream>

std::string formatTime(const std::tm& time, const char* pattern) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::put_time(&time, pattern);
    return text.str();
}
