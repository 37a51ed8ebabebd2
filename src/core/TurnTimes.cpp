#include "core/TurnTimes.h"

namespace {

std::string since(uint64_t begin, uint64_t tick, const char* absent) {
    return tick == 0 ? absent : "+" + std::to_string(tick - begin) + " ms";
}

std::string before(uint64_t question, uint64_t tick) {
    return tick == 0 ? "none" : "-" + std::to_string(question - tick) + " ms";
}

}  // namespace

std::string turnLine(const TurnTimes& times, const std::string& asked) {
    std::string line = "turn: question " + asked;
    if (times.heard.transcript != 0) {
        line += ", name " + before(times.question, times.heard.wake) + ", end of speech " +
                before(times.question, times.heard.endOfSpeech) + ", transcript " +
                before(times.question, times.heard.transcript);
    }
    return line + ", first token " + since(times.question, times.firstToken, "none") + ", first sentence " +
           since(times.question, times.firstSentence, "none") + ", first sound " +
           since(times.question, times.firstSound, "none") + ", done " +
           since(times.question, times.done, "never (cut off)");
}
