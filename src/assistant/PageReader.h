#pragma once

#include <string>

#include "foundation/Callbacks.h"

/// Fetches a web page for the language model.
class PageReader {
public:
    /// The page's text, at most 2200 bytes chosen for the question, or a sentence for the model about why
    /// there is none. Doesn't fail otherwise. Threads: any; blocks for one request.
    static std::string read(const std::string& url, CancelFlag* cancel, const std::string& question);
};
