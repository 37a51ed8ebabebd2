// The built program as it takes pictures of the head.

#include <gtest/gtest.h>
#include <stdlib.h>

#include "foundation/Files.h"
#include "platform/system.h"
#include "support/TestData.h"
#include "support/TestProgram.h"

TEST(Picture, IsTakenWithoutADisplayAndBesideARunningCopy) {
    unsetenv("DISPLAY");
    const SingleInstance running("Velu.Desktop.SingleInstance");
    const std::string picture = std::string(getenv("VELU_HOME")) + "/head.png";
    const struct {
        std::vector<std::string> words;
        int exitCode;
        std::string size;  ///< as it stands in the file: width and height, the most significant byte first
    } cases[] = {
        {{"--shot", picture}, 0, std::string("\0\0\0\xCC\0\0\0\xF0", 8)},
        {{"--size", "300", "--shot", picture, "--alpha"}, 0, std::string("\0\0\0\xFF\0\0\1\x2C", 8)},
        {{"--shot", picture, "--size", "2"}, 0, std::string("\0\0\0\1\0\0\0\2", 8)},
        {{"--shot", picture, "--size", "1"}, 1, ""},
        {{"--shot", picture, "--size", "4097"}, 1, ""},
        {{"--shot"}, 2, ""},
    };
    for (const auto& row : cases) {
        removeFile(picture);
        std::vector<std::string> words = row.words;
        words.insert(words.begin(), VELU_PROGRAM);
        EXPECT_EQ(TestProgram(words, picture + ".log").wait(), row.exitCode) << words.back();
        const std::string png = fileText(picture);
        EXPECT_EQ(png.substr(std::min<size_t>(16, png.size()), 8), row.size) << words.back();
    }
}
