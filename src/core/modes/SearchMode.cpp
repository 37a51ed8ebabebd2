#include "core/modes/SearchMode.h"

#include <atomic>

#include "assistant/WebSearch.h"
#include "core/Companion.h"
#include "core/modes/RunOutput.h"

int runSearchMode(const Companion& companion, const std::string& query) {
    const std::atomic<bool> cancel = false;  // one stops this mode by ending the program
    RunOutput::writeWhole(WebSearch::search(companion.assistant.endpoints, query, &cancel));
    return 0;
}
