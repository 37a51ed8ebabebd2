// What the speech-to-text server answers: always a sentence or nothing, and a command is the end of it.

#include <string_view>

#include "foundation/Text.h"
#include "fuzz/Require.h"
#include "hearing/Transcription.h"

using nlohmann::json;

namespace {

void checkCommand(const std::string& text) {
    std::string out = "untouched";
    if (!extractCommand(text, out)) {
        require(out == "untouched", "without the name nothing is given out");
        return;
    }
    require(text.size() >= out.size() && text.compare(text.size() - out.size(), out.size(), out) == 0,
            "a command is the end of the text");
    require(out.empty() || std::string_view(" ,.!?-").find(out.front()) == std::string_view::npos,
            "a command begins with a word");
}

void checkSentence(const std::string& body) {
    const std::string text = cleanTranscript(body);
    require(isUtf8(text), "a sentence is UTF-8");
    require(trimmed(text) == text, "a sentence has no blanks around it");
    if (text.empty()) return;
    require(text.front() != '*' && !(text.front() == '[' && text.back() == ']'), "a note is no sentence");
    require(cleanTranscript(json({{"text", text}}).dump()) == text, "a clean sentence stays as it is");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    checkSentence(input);
    checkSentence(json({{"text", input}}).dump(-1, ' ', false, json::error_handler_t::replace));
    checkCommand(input);
    return 0;
}
