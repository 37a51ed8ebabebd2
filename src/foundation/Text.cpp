#include "foundation/Text.h"

#include <cstdint>
#include <utility>

namespace {

struct Sequence {
    size_t length;  ///< bytes of a whole character, or of the longest prefix of one
    bool valid;
};

// The well-formed sequences are those of the Unicode Standard's table 3-7: the second byte of some lead bytes
// has a narrower range, which keeps out overlong forms, surrogates and everything beyond U+10FFFF.
Sequence sequenceAt(std::string_view text, size_t at) {
    const auto byte = [&](size_t index) { return static_cast<uint8_t>(text[index]); };
    const uint8_t lead = byte(at);
    if (lead < 0x80) return {1, true};
    if (lead < 0xC2 || lead > 0xF4) return {1, false};
    const size_t length = characterLength(text[at]);
    const uint8_t low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const uint8_t high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    for (size_t i = 1; i < length; ++i) {
        const bool first = i == 1;
        if (at + i >= text.size()) return {i, false};
        if (byte(at + i) < (first ? low : 0x80) || byte(at + i) > (first ? high : 0xBF)) return {i, false};
    }
    return {length, true};
}

}  // namespace

std::string repairUtf8(std::string text) {
    size_t at = 0;
    while (at < text.size()) {
        const Sequence sequence = sequenceAt(text, at);
        if (!sequence.valid) break;
        at += sequence.length;
    }
    if (at == text.size()) return text;

    std::string repaired(text, 0, at);
    while (at < text.size()) {
        const Sequence sequence = sequenceAt(text, at);
        if (sequence.valid) {
            repaired.append(text, at, sequence.length);
        } else {
            repaired += "\xEF\xBF\xBD";
        }
        at += sequence.length;
    }
    return repaired;
}

size_t characterLength(char lead) {
    const auto byte = static_cast<uint8_t>(lead);
    if (byte < 0xC0 || byte > 0xF7) return 1;
    return byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

bool isInsideCharacter(char byte) {
    return (static_cast<uint8_t>(byte) & 0xC0) == 0x80;
}

std::string cutUtf8(std::string text, size_t maxBytes) {
    if (text.size() <= maxBytes) return text;
    size_t end = maxBytes;
    // A character has at most three bytes after its lead byte.
    while (end > 0 && maxBytes - end < 4 && isInsideCharacter(text[end]))
        --end;
    text.resize(end);
    return text;
}

std::string_view cutToUnits(std::string_view text, size_t maxUnits) {
    size_t units = 0;
    for (size_t at = 0; at < text.size();) {
        const size_t length = characterLength(text[at]);
        units += length == 4 ? 2 : 1;
        if (units > maxUnits) return text.substr(0, at);
        at += length;
    }
    return text;
}

std::string toLowerAscii(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

std::string_view trimmed(std::string_view text, std::string_view blanks) {
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}
