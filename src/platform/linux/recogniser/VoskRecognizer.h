#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/wake_recognizer.h"

/// Spots the name with libvosk, which is opened at run time.
///
/// Threads: one at a time.
class VoskRecognizer {
public:
    VoskRecognizer() = default;
    ~VoskRecognizer();
    VoskRecognizer(const VoskRecognizer&) = delete;
    VoskRecognizer& operator=(const VoskRecognizer&) = delete;

    /// Loads libvosk, from beside the model folder or else from the system, and then the model. May be called
    /// once. Returns false when the folder holds no model for libvosk, when no usable library is found, or
    /// when the library refuses the model.
    [[nodiscard]] bool loadModel(const std::string& folder);

    /// As `WakeRecognizer`'s, once a model is loaded.
    [[nodiscard]] bool createRecognizer(float sampleRate, const std::vector<std::string>& phrases);

    [[nodiscard]] bool isReady() const { return recognizer != nullptr; }

    // As `WakeRecognizer`'s, once `isReady`.
    [[nodiscard]] WakeResult accept(const int16_t* samples, int32_t count);
    void reset();

private:
    /// The library's functions under their own names.
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
