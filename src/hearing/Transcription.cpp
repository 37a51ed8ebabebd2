#include "hearing/Transcription.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <string_view>

#include "foundation/Json.h"
#include "foundation/Text.h"

namespace {

constexpr uint32_t sampleRate = 16000;
constexpr uint32_t bytesPerSample = 2;
constexpr size_t wavHeaderBytes = 44;
constexpr const char* boundary = "----VeluBoundary7d3fA91";

struct FormField {
    const char* name;
    const char* value;
};

// The prompt shows the model how the name is spelled, so that it recognises it. It never changes.
constexpr FormField formFields[] = {
    {"response_format", "json"},
    {"temperature", "0.0"},
    {"no_timestamps", "true"},
    {"prompt", "Velu, what's the weather?"},
};

// The name, and how the model writes it when it is pronounced carelessly.
constexpr std::string_view nameWords[] = {"velu", "velo",   "vellu",  "veli",
                                          "belu", "velu's", "velwie", "vely"};

constexpr size_t wordsLookedAt = 5;

void appendNumber(std::string& bytes, uint32_t number, size_t width) {
    for (size_t i = 0; i < width; ++i)
        bytes += static_cast<char>(number >> 8 * i & 0xFF);
}

void appendWav(std::string& bytes, const std::vector<int16_t>& samples) {
    const auto dataBytes = static_cast<uint32_t>(samples.size() * bytesPerSample);
    bytes += "RIFF";
    appendNumber(bytes, dataBytes + 36, 4);
    bytes += "WAVEfmt ";
    appendNumber(bytes, 16, 4);
    appendNumber(bytes, 1, 2);  // PCM
    appendNumber(bytes, 1, 2);  // channels
    appendNumber(bytes, sampleRate, 4);
    appendNumber(bytes, sampleRate * bytesPerSample, 4);
    appendNumber(bytes, bytesPerSample, 2);
    appendNumber(bytes, 8 * bytesPerSample, 2);
    bytes += "data";
    appendNumber(bytes, dataBytes, 4);
    for (const int16_t sample : samples)
        appendNumber(bytes, static_cast<uint16_t>(sample), bytesPerSample);
}

/// Returns whether the text only describes a sound, such as "(wind blowing)". A sentence with brackets inside
/// doesn't count.
bool isAnnotation(std::string_view text) {
    return (text.front() == '[' && text.back() == ']') || (text.front() == '(' && text.back() == ')') ||
           text.front() == '*';
}

/// Returns the letters and apostrophes of a word, in lower case.
std::string wordIn(std::string_view span) {
    std::string word;
    for (const char c : toLowerAscii(std::string(span))) {
        if ((c >= 'a' && c <= 'z') || c == '\'') word += c;
    }
    return word;
}

}  // namespace

const char* const inferenceContentType = "multipart/form-data; boundary=----VeluBoundary7d3fA91";

std::string buildWav(const std::vector<int16_t>& samples) {
    std::string bytes;
    bytes.reserve(wavHeaderBytes + samples.size() * bytesPerSample);
    appendWav(bytes, samples);
    return bytes;
}

std::string inferenceBody(const std::vector<int16_t>& samples) {
    const std::string part = std::string("--") + boundary + "\r\nContent-Disposition: form-data; name=\"";
    std::string body;
    body.reserve(samples.size() * bytesPerSample + 1024);
    body += part + "file\"; filename=\"audio.wav\"\r\nContent-Type: audio/wav\r\n\r\n";
    appendWav(body, samples);
    body += "\r\n";
    for (const FormField& field : formFields)
        body += part + field.name + "\"\r\n\r\n" + field.value + "\r\n";
    body += std::string("--") + boundary + "--\r\n";
    return body;
}

std::string cleanTranscript(const std::string& body) {
    const std::string answer = textAt(parseJson(body), "text");
    const std::string_view text = trimmed(answer);
    if (text.empty() || isAnnotation(text)) return {};
    return std::string(text);
}

bool extractCommand(const std::string& text, std::string& out) {
    size_t end = 0;
    for (size_t word = 0; word < wordsLookedAt; ++word) {
        const size_t begin = text.find_first_not_of(" ,.!?", end);
        if (begin == std::string::npos) return false;
        end = std::min(text.find_first_of(" ,", begin), text.size());
        const std::string name = wordIn(std::string_view(text).substr(begin, end - begin));
        if (std::find(std::begin(nameWords), std::end(nameWords), name) == std::end(nameWords)) continue;
        out = text.substr(std::min(text.find_first_not_of(" ,.!?-", end), text.size()));
        return true;
    }
    return false;
}
