#pragma once

#include <functional>
#include <string>

/// Cuts a reply into sentences while it is still being written, and passes each to a callback, ready to be
/// spoken and shown. Threads: one; the callback runs inside the call.
class SentenceStream {
public:
    explicit SentenceStream(std::function<void(const std::string&)> receiver)
        : onSentence(std::move(receiver)) {}

    /// Takes the next piece of the reply. A sentence ends at a full stop, exclamation mark, question mark or
    /// line feed that a blank or line feed follows and that isn't among its first 12 bytes: a decimal point
    /// is no end, and a short opening stays joined to the next sentence.
    void feed(const std::string& delta);

    /// Ends the reply: passes on the rest, whatever its length.
    void flush();

private:
    void emit(const std::string& sentence) const;

    std::string pending;
    size_t scanned = 0;  ///< bytes of `pending` that hold no cut point
    std::function<void(const std::string&)> onSentence;
};

/// Returns the text without emoji, symbols, arrows and variation selectors: a voice would read their names.
/// Dashes and curly quotes stay.
std::string stripEmoji(const std::string& text);
