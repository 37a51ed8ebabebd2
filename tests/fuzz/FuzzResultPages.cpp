// Any bytes as a search engine's result page.

#include "assistant/Html.h"
#include "assistant/WebCoding.h"
#include "assistant/WebSearch.h"
#include "fuzz/CutInput.h"
#include "fuzz/Require.h"

namespace {

void check(const std::vector<SearchHit>& hits) {
    require(hits.size() <= 6, "a page gives at most six hits");
    for (const SearchHit& hit : hits) {
        require(isHttpUrl(hit.url), "a hit leads to the web");
        require(!hit.title.empty(), "a hit has a title");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const CutInput input(data, size);
    std::vector<SearchHit> hits = parseDuckDuckGo(input.text);
    std::vector<SearchHit> more = parseBing(input.text);
    check(hits);
    check(more);
    mergeHits(hits, std::move(more));
    (void)hitsText(hits);
    require(percentDecode(formEncode(input.text)) == input.text, "what is encoded can be decoded");
    (void)percentDecode(input.text);
    (void)base64UrlDecode(input.text);
    return 0;
}
