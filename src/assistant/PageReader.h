#pragma once

#include <string>

#include "foundation/Callbacks.h"

/// Fetches a web page for the language model.
class PageReader {
public:
    /// Returns the page's text, at most 2200 bytes chosen for the question. On failure it returns a sentence
    /// for the model with the reason. Threads: any; blocks for one request.
    static std::string read(const std::string& url, CancelFlag* cancel, const std::string& question);
};
