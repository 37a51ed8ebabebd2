#pragma once

#include <cstdint>
#include <string>

/// When something heard came how far, in ticks of `tickCount`; 0: it didn't.
struct HeardTimes {
    uint64_t wake = 0;         ///< the name was recognised; not in a follow-up
    uint64_t endOfSpeech = 0;  ///< it was taken to be over, after its closing silence
    uint64_t transcript = 0;   ///< its words were there
};

/// When a turn came how far, in ticks of `tickCount`; 0: it didn't.
struct TurnTimes {
    uint64_t question = 0;       ///< it was asked
    uint64_t firstToken = 0;     ///< the model's first piece of text
    uint64_t firstSentence = 0;  ///< a sentence reached the bubble
    uint64_t firstSound = 0;     ///< the voice began to be heard
    uint64_t done = 0;           ///< the turn's thread had no more to say
    HeardTimes heard = {};       ///< of a question that was spoken
};

/// The line for the log; `asked` is the question's time of day.
std::string turnLine(const TurnTimes& times, const std::string& asked);
