#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Requests to the speech-to-text server and the meaning of its answers. Threads: any.

/// Returns a WAV file of these samples, 16 kHz mono: a header of 44 bytes and the samples.
std::string buildWav(const std::vector<int16_t>& samples);

/// The value of the Content-Type header that belongs to `inferenceBody`.
extern const char* const inferenceContentType;

/// Returns the form that asks the server for a transcript of these samples, 16 kHz mono.
std::string inferenceBody(const std::vector<int16_t>& samples);

/// Returns the sentence in the server's answer, trimmed. Empty when the answer has another form, when nothing
/// was said, and when the text describes a sound, like "[Music]".
std::string cleanTranscript(const std::string& body);

/// Returns whether the text addresses the companion: her name, or a word that it is often mistaken for, is
/// among the first 5 words. `out` is then the text after the name, maybe empty; otherwise it is unchanged.
bool extractCommand(const std::string& text, std::string& out);
