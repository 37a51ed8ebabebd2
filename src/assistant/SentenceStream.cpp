#include "assistant/SentenceStream.h"

#include <algorithm>
#include <cstdint>

#include "foundation/Text.h"

namespace {

constexpr size_t earliestCut = 12;  // shorter openings sound chopped when spoken alone

bool endsSentence(char c) {
    return c == '.' || c == '!' || c == '?' || c == '\n';
}

bool isSymbol(size_t length, uint8_t first, uint8_t second) {
    if (length == 4) return true;  // beyond U+FFFF: emoji
    if (length != 3) return false;
    return (first == 0xE2 && second >= 0x84) ||  // U+2100 upward: symbols, arrows, dingbats
           (first == 0xEF && second == 0xB8);    // variation selectors
}

}  // namespace

void SentenceStream::feed(const std::string& delta) {
    pending += delta;
    for (size_t i = std::max(scanned, earliestCut); i + 1 < pending.size();) {
        if (endsSentence(pending[i]) && (pending[i + 1] == ' ' || pending[i + 1] == '\n')) {
            emit(pending.substr(0, i + 1));
            pending.erase(0, i + 1);
            i = earliestCut;
        } else {
            ++i;
        }
        scanned = i;
    }
}

void SentenceStream::flush() {
    if (!pending.empty()) emit(pending);
    pending.clear();
    scanned = 0;
}

void SentenceStream::emit(const std::string& sentence) const {
    const std::string spoken = stripEmoji(sentence);
    const std::string_view kept = trimmed(spoken);
    if (!kept.empty()) onSentence(std::string(kept));
}

std::string stripEmoji(const std::string& text) {
    std::string kept;
    kept.reserve(text.size());
    for (size_t at = 0; at < text.size();) {
        const auto first = static_cast<uint8_t>(text[at]);
        const size_t length = std::min(characterLength(text[at]), text.size() - at);
        const auto second = static_cast<uint8_t>(length > 1 ? text[at + 1] : 0);
        if (!isSymbol(length, first, second)) kept.append(text, at, length);
        at += length;
    }
    return kept;
}
