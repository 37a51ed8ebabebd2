// Any bytes as a web page, and the excerpt that is made of its text.

#include "assistant/Html.h"
#include "assistant/Passages.h"
#include "foundation/Text.h"
#include "fuzz/CutInput.h"
#include "fuzz/Require.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const CutInput input(data, size);
    const std::string text = htmlToText(input.text);
    require(text.find("\n\n\n") == std::string::npos, "at most one empty line in a row");
    require(text.empty() || (text.back() != ' ' && text.back() != '\n'), "no white space at the end");
    require(text.size() <= 3 * input.text.size(),
            "a page's text isn't longer than the page, but for its entities");

    const std::string decoded = decodeEntities(input.text);
    if (isUtf8(input.text)) require(isUtf8(decoded), "entities of good text give good text");

    const std::string whole = repairUtf8(text);
    const size_t budget = input.number % 3000;
    const std::string excerpt =
        selectPassages(whole, input.pieces.empty() ? "" : input.pieces.front(), budget);
    require(isUtf8(excerpt), "an excerpt splits no character");
    require(whole.size() <= budget ? excerpt == whole : excerpt.size() <= budget + 1,
            "an excerpt keeps to its budget");
    return 0;
}
