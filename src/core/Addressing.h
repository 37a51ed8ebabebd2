#pragma once

#include <string>

/// What becomes of something that was heard.
struct Addressed {
    enum class Kind {
        notMeant,   ///< for somebody else, or nothing at all
        onlyName,   ///< the companion was called, and nothing more
        onlyBlank,  ///< a follow-up in which nothing was said
        command,
    };
    Kind kind = Kind::notMeant;
    std::string command;  ///< what is asked, without the name in front; not empty with `command` only
};

/// Whether a transcript is meant for the companion: a follow-up always is; otherwise the name has to be among
/// its first five words, or it has to be a sentence of three words or more, since it was the name that began
/// the capture, even if the transcript has lost it. Threads: any.
Addressed whatIsMeant(const std::string& transcript, bool followUp);
