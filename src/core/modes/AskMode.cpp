#include "core/modes/AskMode.h"

#include <atomic>

#include "core/Companion.h"
#include "core/modes/RunOutput.h"
#include "foundation/Ticks.h"

int runAskMode(Companion& companion, const std::string& question) {
    const RunOutput output;
    const std::atomic<bool> cancel = false;  // one stops this mode by ending the program
    const auto onStatus = [&](const std::string& line) { output.add("[status] " + line); };
    if (!companion.brain.start(companion.settings.modelIndex, onStatus, &cancel)) {
        output.add("[error] engine failed");
        return 1;
    }
    companion.assistant.warmUp(&cancel);

    const uint64_t start = tickCount();
    const auto elapsed = [&] { return std::to_string(tickCount() - start) + "ms] "; };
    std::string reply;
    companion.assistant.turn(
        reply, question, [&](const std::string& sentence) { output.add("[say " + elapsed() + sentence); },
        [&](const std::string& line) { output.add("[act] " + line); }, &cancel);
    output.add("[done " + std::to_string(tickCount() - start) + "ms]");
    companion.brain.stop();
    return 0;
}
