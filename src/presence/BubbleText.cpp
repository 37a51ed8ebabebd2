#include "presence/BubbleText.h"

#include <cstddef>

#include "foundation/Text.h"

std::string typedQuestion(std::string_view typed) {
    constexpr size_t mostUnits = 2048;
    return std::string(trimmed(cutToUnits(typed, mostUnits), " \t"));
}

std::string newestPart(std::string text) {
    constexpr size_t mostBytes = 8192;
    if (text.size() <= mostBytes) return text;
    // By half at once: each cut moves all the line breaks.
    size_t begin = text.size() - mostBytes / 2;
    while (begin < text.size() && isInsideCharacter(text[begin]))
        ++begin;
    return text.substr(begin);
}
