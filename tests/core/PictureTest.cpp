// The built program as it takes pictures of the head.

#include <gtest/gtest.h>
#include <stdlib.h>

#include "foundation/Files.h"
#include "platform/system.h"
#include "support/TemporaryFolder.h"
#include "support/TestProgram.h"

namespace {

TEST(Picture, IsTakenWithoutADisplayAndBesideARunningCopy) {
    unsetenv("DISPLAY");
    const TemporaryFolder folder;
    const SingleInstance running("Velu.Desktop.SingleInstance");
    const std::string picture = joinPath(folder.path, "head.png");
    const struct {
        std::vector<std::string> words;
        int exitCode;
        uint32_t width, height;  // 0: no picture
    } cases[] = {
        {{"--shot", picture}, 0, 204, 240},
        {{"--size", "300", "--shot", picture, "--jaw", "24", "--yaw", "-40", "--alpha"}, 0, 255, 300},
        {{"--shot", picture, "--size", "0"}, 1, 0, 0},
        {{"--shot", picture, "--size", "-5"}, 1, 0, 0},
        {{"--shot", picture, "--size", "4097"}, 1, 0, 0},
        {{"--shot", joinPath(folder.path, "no/such/folder.png")}, 2, 0, 0},
        {{"--shot"}, 2, 0, 0},
    };
    for (const auto& row : cases) {
        removeFile(picture);
        std::vector<std::string> words = row.words;
        words.insert(words.begin(), VELU_PROGRAM);
        EXPECT_EQ(TestProgram(words, joinPath(folder.path, "said")).wait(), row.exitCode) << words.back();
        EXPECT_EQ(isFile(picture), row.width > 0) << words.back();
        std::string png;
        if (!readWholeFile(picture, png) || png.size() < 24) continue;
        // Width and height stand at fixed places, the most significant byte first.
        const auto byte = [&png](size_t at) { return static_cast<uint32_t>(static_cast<uint8_t>(png[at])); };
        EXPECT_EQ(byte(18) << 8 | byte(19), row.width);
        EXPECT_EQ(byte(22) << 8 | byte(23), row.height);
    }
}

}  // namespace
