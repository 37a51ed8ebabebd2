#pragma once

#include <cstdint>
#include <string>

/// A recogniser made by libvosk, which is looked for at run time.
///
/// Threads: one at a time.
class VoskRecognizer {
public:
    VoskRecognizer() = default;
    ~VoskRecognizer();
    VoskRecognizer(const VoskRecognizer&) = delete;
    VoskRecognizer& operator=(const VoskRecognizer&) = delete;

    /// Loads libvosk, the one beside the model folder or else the system's, and with it the model. Once.
    /// False when the folder holds no model of libvosk's kind, when there is no library that can be used, or
    /// when it doesn't take the model.
    [[nodiscard]] bool loadModel(const std::string& folder);

    /// As WakeRecognizer's; with a model that was loaded.
    [[nodiscard]] bool createRecognizer(float sampleRate, const std::string& grammar);

    [[nodiscard]] bool isReady() const { return recognizer != nullptr; }

    // As WakeRecognizer's; only with a recogniser.
    bool accept(const int16_t* samples, int32_t count);
    [[nodiscard]] std::string result();
    [[nodiscard]] std::string partialResult();
    void reset();

private:
    /// The library's functions, by its own names.
    struct Functions {
        void (*vosk_set_log_level)(int level) = nullptr;
        void* (*vosk_model_new)(const char* folder) = nullptr;
        void (*vosk_model_free)(void* model) = nullptr;
        void* (*vosk_recognizer_new_grm)(void* model, float sampleRate, const char* grammar) = nullptr;
        int (*vosk_recognizer_accept_waveform_s)(void* recognizer, const short* samples, int count) = nullptr;
        const char* (*vosk_recognizer_result)(void* recognizer) = nullptr;
        const char* (*vosk_recognizer_partial_result)(void* recognizer) = nullptr;
        void (*vosk_recognizer_reset)(void* recognizer) = nullptr;
        void (*vosk_recognizer_free)(void* recognizer) = nullptr;
    };

    [[nodiscard]] bool loadLibrary(const std::string& file);

    Functions vosk;
    void* model = nullptr;
    void* recognizer = nullptr;
};
