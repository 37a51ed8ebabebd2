#include "presence/BubbleText.h"

#include <cstddef>
#include <cstdint>

#include "foundation/Text.h"

namespace {

bool isInsideCharacter(char byte) {
    return (static_cast<uint8_t>(byte) & 0xC0) == 0x80;
}

}  // namespace

std::string typedQuestion(std::string_view typed) {
    constexpr size_t mostUnits = 2048;
    size_t units = 0;
    size_t end = 0;
    for (; end < typed.size(); ++end) {
        if (isInsideCharacter(typed[end])) continue;
        units += static_cast<uint8_t>(typed[end]) >= 0xF0 ? 2 : 1;
        if (units > mostUnits) break;
    }
    return std::string(trimmed(typed.substr(0, end), " \t"));
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
