#include "platform/linux/SphinxDecoder.h"

#include <sphinxbase/err.h>
#include <sphinxbase/feat.h>

#include <algorithm>

namespace {

/// The library's options are text.
constexpr const char* widestSearch =
    "3000";  // active models a frame: a tenth of the default's work, and no worse
constexpr const char* quietFramesThatEnd = "30";

}  // namespace

SphinxDecoder::~SphinxDecoder() {
    if (decoder != nullptr) ps_free(decoder);
}

bool SphinxDecoder::open(const std::string& folder, const std::string& languageModel, float sampleRate,
                         Purpose purpose) {
    err_set_logfp(nullptr);
    const bool isStream = purpose == Purpose::stream;
    const std::string dictionary = folder + "/wake.dict";
    const std::string model = folder + "/" + languageModel;
    const std::string rate = std::to_string(sampleRate);
    // The thorough passes over what is finished are for the stretch: the stream is judged while it runs.
    cmd_ln_t* const options =
        cmd_ln_init(nullptr, ps_args(), TRUE, "-hmm", folder.c_str(), "-dict", dictionary.c_str(), "-lm",
                    model.c_str(), "-samprate", rate.c_str(), "-cmn", "live", "-fwdflat", "no", "-bestpath",
                    isStream ? "no" : "yes", "-maxhmmpf", widestSearch, "-vad_postspeech", quietFramesThatEnd,
                    "-remove_silence", isStream ? "yes" : "no", nullptr);
    if (options == nullptr) return false;
    decoder = ps_init(options);
    cmd_ln_free_r(options);
    return decoder != nullptr;
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

void SphinxDecoder::adaptLike(const SphinxDecoder& other) {
    const cmn_t* const known = ps_get_feat(other.decoder)->cmn_struct;
    cmn_t* const own = ps_get_feat(decoder)->cmn_struct;
    std::copy_n(known->cmn_mean, known->veclen, own->cmn_mean);
    std::copy_n(known->sum, known->veclen, own->sum);
    own->nframe = known->nframe;
}
