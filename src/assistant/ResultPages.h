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

// Reading the result pages of the two engines by a few markers in their HTML: at most 6 hits each, in page
// order, and none when the markers have changed. Time is proportional to the page's length, whatever it
// holds. Threads: everything here may be called from any thread.

std::vector<SearchHit> parseDuckDuckGo(std::string_view html);
std::vector<SearchHit> parseBing(std::string_view html);
