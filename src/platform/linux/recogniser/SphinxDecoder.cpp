#include "platform/linux/recogniser/SphinxDecoder.h"

#include <sphinxbase/err.h>
#include <sphinxbase/feat.h>

#include <algorithm>

namespace {

// The searches, called as their language models' files.
constexpr const char* listening = "wake";
constexpr const char* withName = "named";
constexpr const char* withoutName = "nameless";

/// The library's options are text.
constexpr const char* widestSearch =
    "3000";  // active models a frame: a tenth of the default's work, and no worse
constexpr const char* quietFramesThatEnd = "30";
// The acoustic model is of men more than of women: frequencies are shrunk by a part of what would be right
// for a high voice, which hardly hurts a deep one.
constexpr const char* shrunkBy = "1.08";

}  // namespace

SphinxDecoder::~SphinxDecoder() {
    if (decoder != nullptr) ps_free(decoder);
}

bool SphinxDecoder::open(const std::string& folder, float sampleRate, Purpose purpose) {
    err_set_logfp(nullptr);
    const bool isStream = purpose == Purpose::stream;
    const std::string dictionary = folder + (isStream ? "/wake.dict" : "/look.dict");
    const std::string rate = std::to_string(sampleRate);
    // The stretch's sounds are judged in every second frame: a quarter less work, and no worse.
    cmd_ln_t* const options = cmd_ln_init(
        nullptr, ps_args(), TRUE, "-hmm", folder.c_str(), "-dict", dictionary.c_str(), "-samprate",
        rate.c_str(), "-cmn", "live", "-fwdflat", "no", "-bestpath", "no", "-maxhmmpf", widestSearch,
        "-vad_postspeech", quietFramesThatEnd, "-remove_silence", isStream ? "yes" : "no", "-ds",
        isStream ? "1" : "2", "-warp_type", "inverse_linear", "-warp_params", shrunkBy, nullptr);
    if (options == nullptr) return false;
    decoder = ps_init(options);
    cmd_ln_free_r(options);
    if (decoder == nullptr) return false;
    const auto add = [&](const char* search) {
        return ps_set_lm_file(decoder, search, (folder + "/" + search + ".lm").c_str()) == 0;
    };
    if (isStream) return add(listening) && ps_set_search(decoder, listening) == 0;
    if (!add(withName) || !add(withoutName)) return false;
    expectName(true);
    return true;
}

void SphinxDecoder::expectName(bool isExpected) {
    ps_set_search(decoder, isExpected ? withName : withoutName);
}

void SphinxDecoder::begin() {
    ps_start_utt(decoder);
}

void SphinxDecoder::take(std::span<const int16_t> samples) {
    ps_process_raw(decoder, samples.data(), samples.size(), FALSE, FALSE);
}

void SphinxDecoder::end() {
    ps_end_utt(decoder);
}

bool SphinxDecoder::isInSpeech() const {
    return ps_get_in_speech(decoder) != 0;
}

int32_t SphinxDecoder::frameCount() const {
    return ps_get_n_frames(decoder);
}

std::vector<SphinxDecoder::Word> SphinxDecoder::hypothesis() const {
    std::vector<Word> words;
    std::optional<int> begin;  // the library counts from the beginning of the stream
    for (ps_seg_t* segment = ps_seg_iter(decoder); segment != nullptr; segment = ps_seg_next(segment)) {
        int first = 0;
        int last = 0;
        ps_seg_frames(segment, &first, &last);
        if (!begin) begin = first;
        // A word with several ways to say it has their number behind it, in brackets.
        const std::string text = ps_seg_word(segment);
        words.push_back({text.substr(0, text.find('(')), first - *begin, last - *begin});
    }
    return words;
}

std::optional<int32_t> SphinxDecoder::score() const {
    int32_t score = 0;
    if (ps_get_hyp(decoder, &score) == nullptr) return std::nullopt;
    return score;
}

void SphinxDecoder::adaptLike(const SphinxDecoder& other) {
    const cmn_t* const known = ps_get_feat(other.decoder)->cmn_struct;
    cmn_t* const own = ps_get_feat(decoder)->cmn_struct;
    std::copy_n(known->cmn_mean, known->veclen, own->cmn_mean);
    std::copy_n(known->sum, known->veclen, own->sum);
    own->nframe = known->nframe;
}
