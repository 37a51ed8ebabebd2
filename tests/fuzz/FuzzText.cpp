// The helpers for text from anywhere: repairing and cutting UTF-8, and the sentences of a reply.

#include "foundation/Text.h"

#include <algorithm>

#include "assistant/SentenceStream.h"
#include "fuzz/CutInput.h"
#include "fuzz/Require.h"

namespace {

using Sentences = std::vector<std::string>;

Sentences sentencesOf(const std::vector<std::string_view>& pieces) {
    Sentences heard;
    SentenceStream stream([&](const std::string& sentence) { heard.push_back(sentence); });
    for (const std::string_view piece : pieces)
        stream.feed(std::string(piece));
    stream.flush();
    return heard;
}

std::string withoutBlanks(std::string text) {
    text.erase(std::remove_if(text.begin(), text.end(),
                              [](char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }),
               text.end());
    return text;
}

std::string checkRepair(const std::string& text) {
    std::string repaired = repairUtf8(text);
    require(isUtf8(repaired), "repaired text is UTF-8");
    require(repairUtf8(repaired) == repaired, "repaired text needs no repair");
    require(repaired.size() <= 3 * text.size(), "a bad byte becomes one character at most");
    if (isUtf8(text)) require(repaired == text, "good text stays as it is");
    return repaired;
}

void checkCut(const std::string& text, size_t limit) {
    const std::string kept = cutUtf8(text, limit);
    require(kept.size() <= limit && text.rfind(kept, 0) == 0, "a cut leaves a beginning within the limit");
    require(isUtf8(kept), "a cut splits no character");
    require(kept.size() == text.size() || kept.size() + 4 > limit, "a cut takes no whole character too many");
}

/// `text` is good UTF-8.
void checkSentences(const std::string& text) {
    const std::string kept = stripEmoji(text);
    require(isUtf8(kept) && stripEmoji(kept) == kept, "symbols are stripped whole and at once");
    std::string together;
    for (const std::string& sentence : sentencesOf({text})) {
        require(!sentence.empty() && trimmed(sentence) == sentence, "a sentence has no blanks around it");
        together += sentence;
    }
    require(withoutBlanks(together) == withoutBlanks(kept), "no word is lost between the sentences");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const CutInput input(data, size);
    const std::string repaired = checkRepair(input.text);
    checkCut(repaired, input.number % (repaired.size() + 2));
    (void)cutUtf8(input.text, input.number % (input.text.size() + 2));
    checkSentences(repaired);
    require(sentencesOf(input.pieces) == sentencesOf({input.text}), "the cuts don't change the sentences");
    return 0;
}
