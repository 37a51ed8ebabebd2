#pragma once

#include <cstdint>
#include <string>
#include <vector>

// What goes to the speech-to-text server and what its answer means, as values. Threads: any.

/// A WAV file of these samples, 16 kHz mono: a header of 44 bytes and the samples.
std::string buildWav(const std::vector<int16_t>& samples);

/// The value of the Content-Type header that belongs to `inferenceBody`.
extern const char* const inferenceContentType;

/// The form that asks the server for a transcript of these samples, 16 kHz mono.
std::string inferenceBody(const std::vector<int16_t>& samples);

/// The sentence in the server's answer, without blanks around it. Empty when the answer has another form,
/// when nothing was said, and when the text is a note on a sound, like "[Music]".
std::string cleanTranscript(const std::string& body);

/// Whether the text addresses the companion: her name, or what it is easily taken for, is among the first 5
/// words. `out` is then what comes behind the name, which may be nothing; else it is left alone.
bool extractCommand(const std::string& text, std::string& out);
