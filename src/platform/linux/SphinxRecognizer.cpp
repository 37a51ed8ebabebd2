#include "platform/linux/SphinxRecognizer.h"

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <system_error>
#include <vector>

#include "platform/linux/SphinxDecoder.h"

namespace fs = std::filesystem;

namespace {

using Purpose = SphinxDecoder::Purpose;

constexpr const char* otherSpeech = "[unk]";

/// What goes on without a pause is cut here, or the decoder's memory and time would grow with it.
constexpr int32_t longestStretch = 8 * SphinxDecoder::framesPerSecond;

// The name must stand at the same place in two hypotheses in a row, a tenth of a second apart, before it gets
// the second look; a look that came too early is followed by one more.
constexpr int32_t firstLook = 2;
constexpr int32_t lastLook = 3;
constexpr int32_t samePlace = 4;  // frames by which a word's beginning may move

// The second look begins half a second before the name: with what was said before it, less is taken for it.
constexpr int32_t framesBefore = 50;
constexpr int32_t framesBeforePause = 80;  // more, since the pause that ended the stretch has gone by too
constexpr int32_t longestLook = 200;

/// The grammar's single words. Its phrases end in one of them.
std::set<std::string> singleWords(const std::string& grammar) {
    std::set<std::string> words;
    const auto phrases = nlohmann::json::parse(grammar, nullptr, false);
    if (!phrases.is_array()) return words;
    for (const auto& phrase : phrases) {
        const auto* text = phrase.get_ptr<const std::string*>();
        const bool isName = text != nullptr && *text != otherSpeech && text->find(' ') == std::string::npos;
        if (isName) words.insert(*text);
    }
    return words;
}

}  // namespace

struct SphinxRecognizer::Parts {
    std::string folder;
    std::set<std::string> names;
    std::optional<SphinxDecoder> decoder;
    std::optional<SphinxDecoder> doubter;  ///< takes the second look
    int32_t samplesPerFrame = 0;

    std::vector<int16_t> recent;  ///< the last of the stream, enough for a second look
    bool wasInSpeech = false;
    int32_t nameBegin = 0;   ///< frame of the present stretch
    int32_t hypotheses = 0;  ///< in a row that have the name there
    std::string heard;       ///< a name, or other speech; empty before there is any
    std::string final;

    void begin();
    void keep(const int16_t* samples, int32_t count);
    void look(bool hasPaused);
    [[nodiscard]] bool isConfirmed(const SphinxDecoder::Word& name, bool hasPaused);
};

SphinxRecognizer::SphinxRecognizer() : parts(std::make_unique<Parts>()) {}
SphinxRecognizer::~SphinxRecognizer() = default;

bool SphinxRecognizer::loadModel(const std::string& folder) {
    std::error_code error;
    for (const char* file : {"feat.params", "mdef", "means", "noisedict", "sendump", "transition_matrices",
                             "variances", "wake.dict", "wake.lm", "doubt.lm"}) {
        // The library ends the process over a file that is empty.
        const fs::path path = fs::path(folder) / file;
        if (!fs::is_regular_file(path, error) || fs::file_size(path, error) == 0) return false;
    }
    parts->folder = folder;
    return true;
}

bool SphinxRecognizer::createRecognizer(float sampleRate, const std::string& grammar) {
    parts->names = singleWords(grammar);
    auto& stream = parts->decoder.emplace();
    auto& stretch = parts->doubter.emplace();
    if (parts->names.empty() || !stream.open(parts->folder, "wake.lm", sampleRate, Purpose::stream) ||
        !stretch.open(parts->folder, "doubt.lm", sampleRate, Purpose::stretch)) {
        parts->decoder.reset();
        parts->doubter.reset();
        return false;
    }
    parts->samplesPerFrame = static_cast<int32_t>(sampleRate) / SphinxDecoder::framesPerSecond;
    parts->recent.clear();
    parts->begin();
    return true;
}

bool SphinxRecognizer::isReady() const {
    return parts->decoder.has_value();
}

bool SphinxRecognizer::accept(const int16_t* samples, int32_t count) {
    parts->keep(samples, count);
    auto& decoder = *parts->decoder;
    decoder.take({samples, static_cast<size_t>(count)});
    const bool isInSpeech = decoder.isInSpeech();
    const bool hasPaused = parts->wasInSpeech && !isInSpeech;
    const bool hasEnded = hasPaused || decoder.frameCount() > longestStretch;
    if (hasEnded) decoder.end();
    if (isInSpeech || hasPaused) parts->look(hasPaused);
    parts->wasInSpeech = isInSpeech;
    if (!hasEnded) return false;
    parts->final = parts->heard;
    parts->begin();
    return true;
}

std::string SphinxRecognizer::result() const {
    return nlohmann::json{{"text", parts->final}}.dump();
}

std::string SphinxRecognizer::partialResult() const {
    return nlohmann::json{{"partial", parts->heard}}.dump();
}

void SphinxRecognizer::reset() {
    parts->decoder->end();
    parts->final.clear();
    parts->begin();
}

void SphinxRecognizer::Parts::begin() {
    decoder->begin();
    wasInSpeech = false;
    hypotheses = 0;
    heard.clear();
}

void SphinxRecognizer::Parts::keep(const int16_t* samples, int32_t count) {
    recent.insert(recent.end(), samples, samples + count);
    const size_t enough = static_cast<size_t>(longestLook) * samplesPerFrame;
    if (recent.size() > enough) {
        recent.erase(recent.begin(), recent.end() - static_cast<std::ptrdiff_t>(enough));
    }
}

void SphinxRecognizer::Parts::look(bool hasPaused) {
    if (names.contains(heard)) return;
    heard = otherSpeech;
    const auto name = decoder->lastWord([&](const std::string& word) { return names.contains(word); });
    if (!name) {
        hypotheses = 0;
        return;
    }
    const bool isAgain = hypotheses > 0 && std::abs(name->first - nameBegin) <= samePlace;
    hypotheses = isAgain ? hypotheses + 1 : 1;
    nameBegin = name->first;
    if (hypotheses < firstLook || hypotheses > lastLook) return;
    if (isConfirmed(*name, hasPaused)) heard = name->text;
}

bool SphinxRecognizer::Parts::isConfirmed(const SphinxDecoder::Word& name, bool hasPaused) {
    const int32_t before = hasPaused ? framesBeforePause : framesBefore;
    const int32_t frames = std::min(decoder->frameCount() - name.first + before, longestLook);
    const size_t samples = std::min(static_cast<size_t>(frames) * samplesPerFrame, recent.size());
    doubter->adaptLike(*decoder);
    doubter->begin();
    doubter->take(std::span(recent).last(samples));
    doubter->end();
    return doubter->lastWord([&](const std::string& word) { return names.contains(word); }).has_value();
}
