#include "core/TurnTimes.h"

namespace {

std::string since(uint64_t begin, uint64_t tick, const char* absent) {
    return tick == 0 ? absent : "+" + std::to_string(tick - begin) + " ms";
}

}  // namespace

std::string turnLine(const TurnTimes& times, const std::string& asked) {
    return "turn: question " + asked + ", first token " + since(times.question, times.firstToken, "none") +
           ", first sentence " + since(times.question, times.firstSentence, "none") + ", first sound " +
           since(times.question, times.firstSound, "none") + ", done " +
           since(times.question, times.done, "never (cut off)");
}
