// The recogniser of the name: with libvosk, for which there is a stand-in, and without, with real speech.

#include "platform/wake_recognizer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "hearing/WakeWord.h"
#include "support/Speech.h"
#include "support/VoskFolder.h"

namespace {

constexpr size_t chunk = 1600;

/// How often the name is recognised in the sound, which is followed by a second of silence.
int namesIn(WakeRecognizer& recognizer, const std::vector<int16_t>& sound) {
    const std::vector<int16_t> all = joined({silence(1), sound, silence(1)});
    int names = 0;
    for (size_t at = 0; at < all.size(); at += chunk) {
        const auto count = static_cast<int32_t>(std::min(chunk, all.size() - at));
        const bool isFinal = recognizer.accept(&all[at], count);
        const bool isName = heardWakeWord(isFinal ? recognizer.result() : recognizer.partialResult());
        if (isName) ++names;
        if (isName || isFinal) recognizer.reset();
    }
    recognizer.reset();
    return names;
}

TEST(WakeRecognizer, UsesLibvoskWhereItAndItsModelAre) {
    const VoskFolder folder;
    WakeRecognizer recognizer;
    EXPECT_FALSE(recognizer.isReady());
    ASSERT_TRUE(recognizer.loadModel(folder.model));
    EXPECT_FALSE(recognizer.createRecognizer(16000, "no list"));
    ASSERT_TRUE(recognizer.createRecognizer(16000, wakeGrammar));
    std::vector<int16_t> sound(chunk, 0);
    sound[0] = 7001;
    EXPECT_FALSE(recognizer.accept(sound.data(), chunk));
    EXPECT_TRUE(heardWakeWord(recognizer.partialResult()));
    recognizer.reset();
    EXPECT_FALSE(heardWakeWord(recognizer.partialResult()));
    sound[0] = 7002;
    EXPECT_TRUE(recognizer.accept(sound.data(), chunk));
    EXPECT_TRUE(heardWakeWord(recognizer.result()));
    recognizer.free();
    EXPECT_FALSE(recognizer.isReady() || recognizer.accept(sound.data(), chunk));
    EXPECT_FALSE(heardWakeWord(recognizer.result()));
}

TEST(WakeRecognizer, WithoutItThePackagedModelFindsTheNameInSpeech) {
    WakeRecognizer recognizer;
    ASSERT_TRUE(recognizer.loadModel(WAKE_MODEL));
    ASSERT_TRUE(recognizer.createRecognizer(16000, wakeGrammar));
    int found = 0;
    for (const char* voice : {"rms", "slt", "awb"}) {
        for (const char* words : {"hey velu, what time is it", "velu, turn the lamp on please"})
            found += namesIn(recognizer, speech(words, voice)) > 0 ? 1 : 0;
        EXPECT_EQ(
            namesIn(recognizer, speech("yesterday we went to the market and bought some apples", voice)), 0)
            << voice;
    }
    EXPECT_GE(found, 5) << "of 6";
    EXPECT_EQ(namesIn(recognizer, silence(5)), 0);
}

TEST(WakeRecognizer, AFolderWithoutAModelIsRefused) {
    WakeRecognizer recognizer;
    const TemporaryFolder empty;
    EXPECT_FALSE(recognizer.loadModel(empty.path));
    EXPECT_FALSE(recognizer.loadModel(empty.path + "/missing"));
    EXPECT_FALSE(recognizer.createRecognizer(16000, wakeGrammar));
    // Each file there, and nothing in any.
    for (const auto& file : std::filesystem::directory_iterator(WAKE_MODEL)) {
        std::filesystem::copy_file(file, empty.path + "/" + file.path().filename().string());
        std::filesystem::resize_file(empty.path + "/" + file.path().filename().string(), 0);
    }
    EXPECT_FALSE(recognizer.loadModel(empty.path) && recognizer.createRecognizer(16000, wakeGrammar));
    EXPECT_FALSE(recognizer.isReady());
    // Each file there and whole, but for one.
    for (const char* broken : {"wake.lm", "named.lm", "nameless.lm"}) {
        const TemporaryFolder folder;
        for (const auto& file : std::filesystem::directory_iterator(WAKE_MODEL))
            std::filesystem::copy_file(file, folder.path + "/" + file.path().filename().string());
        std::filesystem::resize_file(folder.path + "/" + broken, 20);
        EXPECT_FALSE(recognizer.loadModel(folder.path) && recognizer.createRecognizer(16000, wakeGrammar))
            << broken;
    }
}

}  // namespace
