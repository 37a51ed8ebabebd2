#pragma once

#include <functional>
#include <string>

/// Cuts a reply into sentences while it is still being written, and hands each on, ready to be spoken and
/// shown. Threads: one; the callback runs inside the call.
class SentenceStream {
public:
    explicit SentenceStream(std::function<void(const std::string&)> receiver)
        : onSentence(std::move(receiver)) {}

    /// Takes the next piece of the reply. A sentence ends at a full stop, exclamation mark, question mark or
    /// line feed that a blank or line feed follows and that isn't among its first 12 bytes: a decimal point
    /// is no end, and a short opening stays joined to what comes behind it.
    void feed(const std::string& delta);

    /// The reply has ended: hands on what is left, whatever its length.
    void flush();

private:
    void emit(const std::string& sentence) const;

    std::string pending;
    size_t scanned = 0;  ///< bytes of `pending` that hold no cut point
    std::function<void(const std::string&)> onSentence;
};

/// The text without emoji, symbols, arrows and variation selectors, which a voice would read out by name.
/// Dashes and curly quotes stay.
std::string stripEmoji(const std::string& text);
