#include "platform/linux/recogniser/SphinxRecognizer.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>
#include <vector>

#include "platform/linux/recogniser/SphinxDecoder.h"

namespace fs = std::filesystem;

namespace {

using Purpose = SphinxDecoder::Purpose;
using Word = SphinxDecoder::Word;

constexpr const char* otherSpeech = "[unk]";

/// What goes on without a pause is cut here, or the decoder's memory and time would grow with it.
constexpr int32_t longestStretch = 8 * SphinxDecoder::framesPerSecond;

// The name must stand at the same place in three hypotheses in a row, a tenth of a second apart, before it
// gets the second look: by then what follows it is known.
constexpr int32_t hypothesesForLook = 3;
constexpr int32_t samePlace = 4;  // frames by which a word's beginning may move

// The second look begins half a second before the name: with what was said before it, less is taken for it.
constexpr int32_t framesBefore = 50;
constexpr int32_t framesBeforePause = 80;  // more, since the pause that ended the stretch has gone by too
constexpr int32_t longestLook = 200;

// What the second look makes of it: how much likelier a call is than no call, as a natural logarithm, and
// what is above 0 is taken for one. It grows with how much better the sound fits with the name among the
// words than without, and with what a call is like: it begins what is said or comes right after "hey", and a
// pause follows. The weights are from a logistic regression over what comes as far as this in the benchmark's
// tuning set, rounded. Only the pause behind the name weighs 3 instead of 4.8, since the synthesiser makes
// one after each and people don't. Then what there is without any sign is the first in steps of 0.3 with
// which that set has fewer than 9 false wakes an hour.
constexpr double withoutAnySign = -7.6;
constexpr double perHundredBetter = 0.6;
constexpr double whenPauseFollows = 3;
constexpr double whenGreeted = 2.5;
constexpr std::array<double, 3> afterSoManyWords{4, 3, 1.5};  // since the last pause; nothing after more
constexpr int32_t shortestPause = 6;                          // in frames
constexpr std::array<std::string_view, 5> greetings{"hey", "okay", "ok", "kay", "k"};  // as they are heard

/// The phrases that are single words. All other phrases end in one of them.
std::set<std::string> singleWords(const std::vector<std::string>& phrases) {
    std::set<std::string> words;
    for (const std::string& phrase : phrases) {
        if (phrase != otherSpeech && phrase.find(' ') == std::string::npos) words.insert(phrase);
    }
    return words;
}

/// How much what stands around the name speaks for a call.
double signsOfCall(const std::vector<Word>& words, std::vector<Word>::const_iterator name) {
    double signs = withoutAnySign;
    const auto after = std::next(name);
    if (after != words.end() && after->isFiller()) signs += whenPauseFollows;
    if (name == words.begin()) return signs + afterSoManyWords[0];
    const auto isGreeting = [&](std::string_view greeting) { return std::prev(name)->text == greeting; };
    if (std::any_of(greetings.begin(), greetings.end(), isGreeting)) signs += whenGreeted;
    size_t wordsBefore = 0;
    for (auto word = std::make_reverse_iterator(name); word != words.rend(); ++word) {
        if (!word->isFiller())
            ++wordsBefore;
        else if (word->text == "<s>" || word->last - word->first + 1 >= shortestPause)
            break;
    }
    return wordsBefore < afterSoManyWords.size() ? signs + afterSoManyWords[wordsBefore] : signs;
}

}  // namespace

struct SphinxRecognizer::Parts {
    /// A second look on its way. It is spread over two chunks, or one would take too long.
    struct Look {
        std::string name;
        std::vector<int16_t> samples;
        double signs = 0;
        int32_t scoreWithName = 0;
    };

    std::string folder;
    std::set<std::string> names;
    std::optional<SphinxDecoder> decoder;
    std::optional<SphinxDecoder> doubter;  ///< takes the second look
    int32_t samplesPerFrame = 0;

    std::vector<int16_t> recent;  ///< the last of the stream, enough for a second look
    bool wasInSpeech = false;
    bool hasEnded = false;   ///< the stretch, and a look is still on its way
    int32_t nameBegin = 0;   ///< frame of the present stretch
    int32_t hypotheses = 0;  ///< in a row that have the name there
    std::optional<Look> look;
    std::string heard;  ///< a name, or other speech; empty before there is any

    void begin();
    [[nodiscard]] WakeResult finish();
    void keep(const int16_t* samples, int32_t count);
    void judge(bool hasPaused);
    void beginLook(const std::string& name, int32_t frames, double signs);
    void endLook();
    [[nodiscard]] std::optional<int32_t> scoreOf(const std::vector<int16_t>& samples, bool isNameExpected);
};

SphinxRecognizer::SphinxRecognizer() : parts(std::make_unique<Parts>()) {}
SphinxRecognizer::~SphinxRecognizer() = default;

bool SphinxRecognizer::loadModel(const std::string& folder) {
    std::error_code error;
    for (const char* file : {"feat.params", "mdef", "means", "noisedict", "sendump", "transition_matrices",
                             "variances", "wake.dict", "wake.lm", "look.dict", "named.lm", "nameless.lm"}) {
        // The library ends the process over a file that is empty.
        const fs::path path = fs::path(folder) / file;
        if (!fs::is_regular_file(path, error) || fs::file_size(path, error) == 0) return false;
    }
    parts->folder = folder;
    return true;
}

bool SphinxRecognizer::createRecognizer(float sampleRate, const std::vector<std::string>& phrases) {
    parts->names = singleWords(phrases);
    auto& stream = parts->decoder.emplace();
    auto& stretch = parts->doubter.emplace();
    if (parts->names.empty() || !stream.open(parts->folder, sampleRate, Purpose::stream) ||
        !stretch.open(parts->folder, sampleRate, Purpose::stretch)) {
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

WakeResult SphinxRecognizer::accept(const int16_t* samples, int32_t count) {
    parts->keep(samples, count);
    if (parts->look) parts->endLook();
    if (parts->hasEnded) return parts->finish();
    auto& decoder = *parts->decoder;
    decoder.take({samples, static_cast<size_t>(count)});
    const bool isInSpeech = decoder.isInSpeech();
    const bool hasPaused = parts->wasInSpeech && !isInSpeech;
    const bool hasEnded = hasPaused || decoder.frameCount() > longestStretch;
    if (hasEnded) decoder.end();
    if (isInSpeech || hasPaused) parts->judge(hasPaused);
    parts->wasInSpeech = isInSpeech;
    parts->hasEnded = hasEnded;
    if (!hasEnded || parts->look) return {parts->heard, false};
    return parts->finish();
}

void SphinxRecognizer::reset() {
    if (!parts->hasEnded) parts->decoder->end();
    parts->begin();
}

void SphinxRecognizer::Parts::begin() {
    decoder->begin();
    wasInSpeech = false;
    hasEnded = false;
    hypotheses = 0;
    look.reset();
    heard.clear();
}

WakeResult SphinxRecognizer::Parts::finish() {
    WakeResult result{heard, true};
    begin();
    return result;
}

void SphinxRecognizer::Parts::keep(const int16_t* samples, int32_t count) {
    recent.insert(recent.end(), samples, samples + count);
    const size_t enough = static_cast<size_t>(longestLook) * samplesPerFrame;
    if (recent.size() > enough) {
        recent.erase(recent.begin(), recent.end() - static_cast<std::ptrdiff_t>(enough));
    }
}

void SphinxRecognizer::Parts::judge(bool hasPaused) {
    if (names.contains(heard)) return;
    heard = otherSpeech;
    const std::vector<Word> words = decoder->hypothesis();
    const auto last = std::find_if(words.rbegin(), words.rend(),
                                   [&](const Word& word) { return names.contains(word.text); });
    if (last == words.rend()) {
        hypotheses = 0;
        return;
    }
    const auto name = std::prev(last.base());
    const bool isAgain = hypotheses > 0 && std::abs(name->first - nameBegin) <= samePlace;
    hypotheses = isAgain ? hypotheses + 1 : 1;
    nameBegin = name->first;
    if (hypotheses != hypothesesForLook) return;
    const int32_t before = hasPaused ? framesBeforePause : framesBefore;
    const int32_t frames = std::min(decoder->frameCount() - name->first + before, longestLook);
    beginLook(name->text, frames, signsOfCall(words, name));
}

void SphinxRecognizer::Parts::beginLook(const std::string& name, int32_t frames, double signs) {
    const size_t samples = std::min(static_cast<size_t>(frames) * samplesPerFrame, recent.size());
    Look begun{name, {recent.end() - static_cast<std::ptrdiff_t>(samples), recent.end()}, signs};
    const auto score = scoreOf(begun.samples, true);
    if (!score) return;
    begun.scoreWithName = *score;
    look = std::move(begun);
}

void SphinxRecognizer::Parts::endLook() {
    const auto score = scoreOf(look->samples, false);
    const double better = score ? (look->scoreWithName - *score) / 100.0 : 0;
    if (look->signs + perHundredBetter * better > 0) heard = look->name;
    look.reset();
}

std::optional<int32_t> SphinxRecognizer::Parts::scoreOf(const std::vector<int16_t>& samples,
                                                        bool isNameExpected) {
    doubter->expectName(isNameExpected);
    doubter->adaptLike(*decoder);
    doubter->begin();
    doubter->take(samples);
    doubter->end();
    return doubter->score();
}
