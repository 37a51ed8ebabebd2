#pragma once

#include <string>
#include <string_view>
#include <vector>

/// One result of a web search.
struct SearchHit {
    std::string title;    ///< plain text
    std::string url;      ///< the real target, http or https
    std::string snippet;  ///< plain text; may be empty
};

// The result pages of the two engines, read by a few markers in their HTML. At most 6 hits each, in page
// order; a page whose markers have changed gives none. Time is proportional to the page's length, whatever it
// holds. Threads: any.

std::vector<SearchHit> parseDuckDuckGo(std::string_view html);
std::vector<SearchHit> parseBing(std::string_view html);
