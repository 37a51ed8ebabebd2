// A stand-in for libvosk with the few functions that Velu calls. It understands no speech: the first sample
// of each accepted chunk says what it pretends to have heard.
//   7001  from now on partial results are the name, until a reset or a final result
//   7002  a final result, the name in a phrase
//   7003  from now on partial results are no JSON, until a reset or a final result
//   7004  a final result, other speech
// The two functions at the end are for tests.
#include <cstdint>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <system_error>

namespace {

struct Model {};

struct Recognizer {
    std::string partial;
    std::string final;
    std::string answer;  ///< what the caller was last given
};

std::string lastGrammar;
int resets = 0;

/// The layout of the real library's results.
std::string resultWith(const char* key, const std::string& words) {
    return std::string("{\n  \"") + key + "\" : \"" + words + "\"\n}";
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
    lastGrammar = grammar;
    const bool isList = nlohmann::json::parse(grammar, nullptr, false).is_array();
    return model == nullptr || sampleRate <= 0 || !isList ? nullptr : new Recognizer;
}

int vosk_recognizer_accept_waveform_s(Recognizer* recognizer, const int16_t* samples, int count) {
    const int16_t order = count > 0 ? samples[0] : int16_t{0};
    const bool isFinal = order == 7002 || order == 7004;
    if (order == 7001) recognizer->partial = resultWith("partial", "velu");
    if (order == 7003) recognizer->partial = "nonsense";
    if (isFinal) {
        recognizer->partial.clear();
        recognizer->final = resultWith("text", order == 7002 ? "hey velu" : "[unk]");
    }
    return isFinal ? 1 : 0;
}

const char* vosk_recognizer_result(Recognizer* recognizer) {
    recognizer->answer = recognizer->final.empty() ? resultWith("text", "") : recognizer->final;
    recognizer->final.clear();
    return recognizer->answer.c_str();
}

const char* vosk_recognizer_partial_result(Recognizer* recognizer) {
    recognizer->answer = recognizer->partial.empty() ? resultWith("partial", "") : recognizer->partial;
    return recognizer->answer.c_str();
}

void vosk_recognizer_reset(Recognizer* recognizer) {
    recognizer->partial.clear();
    recognizer->final.clear();
    ++resets;
}

void vosk_recognizer_free(Recognizer* recognizer) {
    delete recognizer;
}

/// How often any recogniser was reset.
int fake_vosk_resets(void) {
    return resets;
}

/// The grammar of the recogniser that was made last.
const char* fake_vosk_grammar(void) {
    return lastGrammar.c_str();
}
}
