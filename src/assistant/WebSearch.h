#pragma once

#include <string>
#include <vector>

#include "assistant/ResultPages.h"
#include "foundation/Callbacks.h"
#include "foundation/Endpoints.h"

/// Searches the web through two engines' ordinary result pages, without keys.
class WebSearch {
public:
    /// Returns a numbered text of at most 4 hits for the language model, or a sentence if nothing was found.
    /// Asks the second engine when the first brought fewer than 4. Threads: any; blocks for up to two
    /// requests.
    static std::string search(const Endpoints& endpoints, const std::string& query, CancelFlag* cancel);
};

/// Appends the hits whose address isn't in the list yet. Threads: any.
void mergeHits(std::vector<SearchHit>& hits, std::vector<SearchHit> more);

/// Returns the numbered text of the first 4 hits, with snippets cut to 170 bytes. Threads: any.
std::string hitsText(const std::vector<SearchHit>& hits);
