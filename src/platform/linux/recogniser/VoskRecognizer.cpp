#include "platform/linux/recogniser/VoskRecognizer.h"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>

#include "platform/linux/recogniser/VoskJson.h"

namespace fs = std::filesystem;

namespace {

template <typename Function>
bool find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr;
}

/// Returns whether the folder's model is for libvosk, which also accepts other models and then misbehaves.
bool holdsVoskModel(const fs::path& folder) {
    std::error_code error;
    return fs::is_regular_file(folder / "am" / "final.mdl", error);
}

fs::path parentOf(const fs::path& folder) {
    const fs::path whole = folder.lexically_normal();
    return whole.has_filename() ? whole.parent_path() : whole.parent_path().parent_path();
}

}  // namespace

VoskRecognizer::~VoskRecognizer() {
    if (recognizer != nullptr) vosk.vosk_recognizer_free(recognizer);
    if (model != nullptr) vosk.vosk_model_free(model);
}

bool VoskRecognizer::loadLibrary(const std::string& file) {
    // It starts threads and keeps state of its own, so it stays for as long as the process.
    void* const library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (library == nullptr) return false;
    const bool isComplete =
        find(library, "vosk_set_log_level", vosk.vosk_set_log_level) &&
        find(library, "vosk_model_new", vosk.vosk_model_new) &&
        find(library, "vosk_model_free", vosk.vosk_model_free) &&
        find(library, "vosk_recognizer_new_grm", vosk.vosk_recognizer_new_grm) &&
        find(library, "vosk_recognizer_accept_waveform_s", vosk.vosk_recognizer_accept_waveform_s) &&
        find(library, "vosk_recognizer_result", vosk.vosk_recognizer_result) &&
        find(library, "vosk_recognizer_partial_result", vosk.vosk_recognizer_partial_result) &&
        find(library, "vosk_recognizer_reset", vosk.vosk_recognizer_reset) &&
        find(library, "vosk_recognizer_free", vosk.vosk_recognizer_free);
    dlclose(library);
    return isComplete;
}

bool VoskRecognizer::loadModel(const std::string& folder) {
    if (!holdsVoskModel(folder)) return false;
    const std::string ours = parentOf(fs::absolute(folder)) / "libvosk.so";
    if (!loadLibrary(ours) && !loadLibrary("libvosk.so")) return false;
    constexpr int noLog = -1;
    vosk.vosk_set_log_level(noLog);
    model = vosk.vosk_model_new(folder.c_str());
    return model != nullptr;
}

bool VoskRecognizer::createRecognizer(float sampleRate, const std::vector<std::string>& phrases) {
    if (recognizer != nullptr) vosk.vosk_recognizer_free(recognizer);
    recognizer = vosk.vosk_recognizer_new_grm(model, sampleRate, voskGrammar(phrases).c_str());
    return recognizer != nullptr;
}

WakeResult VoskRecognizer::accept(const int16_t* samples, int32_t count) {
    const bool isFinal = vosk.vosk_recognizer_accept_waveform_s(recognizer, samples, count) == 1;
    const char* const json =
        isFinal ? vosk.vosk_recognizer_result(recognizer) : vosk.vosk_recognizer_partial_result(recognizer);
    return {json == nullptr ? "" : wordsOfVoskResult(json), isFinal};
}

void VoskRecognizer::reset() {
    vosk.vosk_recognizer_reset(recognizer);
}
