// The contract of the wake recogniser: with the stand-in for libvosk, and with the packaged model and speech.

#include "platform/wake_recognizer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "hearing/WakeWord.h"
#include "support/Speech.h"
#include "support/VoskFolder.h"

namespace {

namespace fs = std::filesystem;

constexpr size_t chunk = 1600;

/// How often the name is recognised in the sound, which is followed by a second of silence.
int namesIn(WakeRecognizer& recognizer, const std::vector<int16_t>& sound) {
    const std::vector<int16_t> all = joined({silence(1), sound, silence(1)});
    int names = 0;
    for (size_t at = 0; at < all.size(); at += chunk) {
        const auto [text, isFinal] =
            recognizer.accept(&all[at], static_cast<int32_t>(std::min(chunk, all.size() - at)));
        const bool isName = heardWakeWord(text);
        if (isName) ++names;
        if (isName || isFinal) recognizer.reset();
    }
    recognizer.reset();
    return names;
}

TEST(WakeRecognizer, UsesLibvoskWhereItAndItsModelAre) {
    const VoskFolder folder;
    WakeRecognizer recognizer;
    const auto expect = [&](int16_t order, const char* text, bool isFinal) {
        std::vector<int16_t> sound(chunk, 0);
        sound[0] = order;
        const WakeResult result = recognizer.accept(sound.data(), chunk);
        EXPECT_EQ(result.text, text) << order;
        EXPECT_EQ(result.isFinal, isFinal) << order;
    };
    ASSERT_TRUE(recognizer.loadModel(folder.model));
    EXPECT_FALSE(recognizer.createRecognizer(16000, {}));
    EXPECT_FALSE(recognizer.isReady());
    ASSERT_TRUE(recognizer.createRecognizer(16000, wakePhrases()));
    expect(7001, "velu", false);
    expect(0, "velu", false);
    recognizer.reset();
    expect(0, "", false);
    expect(7003, "", false);
    expect(7002, "hey velu", true);
    expect(7004, "[unk]", true);
    recognizer.free();
    EXPECT_FALSE(recognizer.isReady());
    expect(7002, "", false);
}

TEST(WakeRecognizer, WithoutItThePackagedModelFindsTheNameInSpeech) {
    WakeRecognizer recognizer;
    ASSERT_TRUE(recognizer.loadModel(WAKE_MODEL));
    ASSERT_TRUE(recognizer.createRecognizer(16000, wakePhrases()));
    int found = 0;
    for (const char* voice : {"rms", "slt", "awb"}) {
        for (const char* words : {"hey velu, what time is it", "velu, turn the lamp on please"})
            found += namesIn(recognizer, speech(words, voice)) > 0 ? 1 : 0;
        const std::string other = "yesterday we went to the market and bought some apples";
        EXPECT_EQ(namesIn(recognizer, speech(other, voice)), 0) << voice;
    }
    EXPECT_GE(found, 5) << "of 6";
    EXPECT_EQ(namesIn(recognizer, silence(5)), 0);
}

TEST(WakeRecognizer, AFolderWithoutAModelIsRefused) {
    WakeRecognizer recognizer;
    EXPECT_FALSE(recognizer.loadModel("/missing"));
    EXPECT_FALSE(recognizer.createRecognizer(16000, wakePhrases()));
    // The whole model, except that one file is missing, empty or cut.
    for (const auto& [broken, bytesLeft] : {std::pair{"wake.dict", -1}, std::pair{"mdef", 0},
                                            std::pair{"wake.lm", 20}, std::pair{"nameless.lm", 20}}) {
        const TemporaryFolder folder;
        for (const auto& file : fs::directory_iterator(WAKE_MODEL))
            fs::copy_file(file, folder.path + "/" + file.path().filename().string());
        const std::string file = folder.path + "/" + broken;
        if (bytesLeft < 0)
            fs::remove(file);
        else
            fs::resize_file(file, static_cast<uintmax_t>(bytesLeft));
        EXPECT_FALSE(recognizer.loadModel(folder.path) && recognizer.createRecognizer(16000, wakePhrases()))
            << broken;
        EXPECT_FALSE(recognizer.isReady());
    }
}

}  // namespace
