// A stand-in for libvosk with the functions that Velu calls. It takes Velu's own grammar and no other, and
// understands no speech: the first sample of each chunk says what it pretends to have heard.
//   7001  from now on partial results are the name, until a reset or a final result
//   7002  a final result, the name in a phrase
//   7003  from now on partial results are no JSON, until a reset or a final result
//   7004  a final result, other speech
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace {

constexpr std::string_view grammarOfVelu =
    R"(["velu", "velo", "vellu", "belu", "hey velu", "okay velu", "[unk]"])";

struct Model {};

struct Recognizer {
    std::string partial, final;
    std::string answer;  ///< what the caller was last given
};

/// A result in the layout of the real library's.
const char* tell(Recognizer* recognizer, const char* key, const std::string& words) {
    recognizer->answer = std::string("{\n  \"") + key + "\" : \"" + words + "\"\n}";
    return recognizer->answer.c_str();
}

}  // namespace

extern "C" {

void vosk_set_log_level(int /*level*/) {}

Model* vosk_model_new(const char* folder) {
    std::error_code error;
    const auto size = std::filesystem::file_size(std::string(folder) + "/am/final.mdl", error);
    return error || size == 0 ? nullptr : new Model;
}

void vosk_model_free(Model* model) {
    delete model;
}

Recognizer* vosk_recognizer_new_grm(Model* model, float sampleRate, const char* grammar) {
    return model == nullptr || sampleRate != 16000 || grammar != grammarOfVelu ? nullptr : new Recognizer;
}

int vosk_recognizer_accept_waveform_s(Recognizer* recognizer, const int16_t* samples, int count) {
    const int16_t order = count > 0 ? samples[0] : int16_t{0};
    const bool isFinal = order == 7002 || order == 7004;
    if (order == 7001) recognizer->partial = "velu";
    if (order == 7003) recognizer->partial = "nonsense";
    if (isFinal) *recognizer = {"", order == 7002 ? "hey velu" : "[unk]", ""};
    return isFinal ? 1 : 0;
}

const char* vosk_recognizer_result(Recognizer* recognizer) {
    const std::string words = std::move(recognizer->final);
    recognizer->final.clear();
    return tell(recognizer, "text", words);
}

const char* vosk_recognizer_partial_result(Recognizer* recognizer) {
    if (recognizer->partial == "nonsense") return "nonsense";
    return tell(recognizer, "partial", recognizer->partial);
}

void vosk_recognizer_reset(Recognizer* recognizer) {
    *recognizer = {};
}

void vosk_recognizer_free(Recognizer* recognizer) {
    delete recognizer;
}
}
