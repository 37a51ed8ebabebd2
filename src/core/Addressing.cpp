#include "core/Addressing.h"

#include <algorithm>
#include <cstddef>

#include "foundation/Text.h"
#include "hearing/SpeechEngine.h"

namespace {

constexpr std::ptrdiff_t leastWords = 3;  // that count as addressed without the name

/// A closing question mark stays: it says that this is a question.
std::string withoutEdges(const std::string& text) {
    const size_t begin = text.find_first_not_of(" \t\r\n,.!?");
    return begin == std::string::npos ? "" : std::string(trimmed(text.substr(begin)));
}

}  // namespace

Addressed whatIsMeant(const std::string& transcript, bool followUp) {
    using Kind = Addressed::Kind;
    if (transcript.empty()) return {};
    std::string command = transcript;
    if (!followUp && !SpeechEngine::extractCommand(transcript, command)) {
        const std::ptrdiff_t words = 1 + std::count(transcript.begin(), transcript.end(), ' ');
        if (words < leastWords) return {};
    }
    command = withoutEdges(command);
    if (!command.empty()) return {Kind::command, command};
    return {followUp ? Kind::onlyBlank : Kind::onlyName, {}};
}
