#pragma once

#include <cstdint>
#include <string>

/// The times of an utterance, in ticks of `tickCount`; 0: it didn't come so far.
struct HeardTimes {
    uint64_t wake = 0;         ///< the name was recognised; 0 in a follow-up
    uint64_t endOfSpeech = 0;  ///< the silence after it was long enough
    uint64_t transcript = 0;   ///< its text was known
};

/// The times of a turn, in ticks of `tickCount`; 0: it didn't come so far.
struct TurnTimes {
    uint64_t question = 0;       ///< it was asked
    uint64_t firstToken = 0;     ///< the model's first piece of text
    uint64_t firstSentence = 0;  ///< a sentence reached the bubble
    uint64_t firstSound = 0;     ///< the voice began to be heard
    uint64_t done = 0;           ///< the turn ended
    HeardTimes heard = {};       ///< of a question that was spoken
};

/// Returns the line for the log; `asked` is the question's time of day.
std::string turnLine(const TurnTimes& times, const std::string& asked);
