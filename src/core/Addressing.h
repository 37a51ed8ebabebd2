#pragma once

#include <string>

/// What something that was heard means to the companion.
struct Addressed {
    enum class Kind {
        notMeant,   ///< said to somebody else, or empty
        onlyName,   ///< the name and nothing else
        onlyBlank,  ///< a follow-up in which nothing was said
        command,
    };
    Kind kind = Kind::notMeant;
    std::string command;  ///< the question without the name in front; empty for all other kinds
};

/// Returns whether a transcript is meant for the companion. A follow-up always is. Any other must have the
/// name among its first five words, or three words or more: the name started the capture, even if the
/// transcript has lost it. Threads: any.
Addressed whatIsMeant(const std::string& transcript, bool followUp);
