#include "assistant/Passages.h"

#include <gtest/gtest.h>

namespace {

/// A line of so many bytes that begins with these words.
std::string line(const std::string& words, size_t bytes) {
    return words + std::string(bytes - words.size(), '.');
}

TEST(Passages, AShortTextStaysWhole) {
    const std::string blank = line("first", 30) + "\n\n" + line("last", 68);
    ASSERT_EQ(blank.size(), 100u);
    EXPECT_EQ(selectPassages(blank, "anything", 100), blank);
    EXPECT_EQ(selectPassages(blank + "!", "anything", 101), blank + "!");
    EXPECT_EQ(selectPassages(blank + "!", "anything", 100),
              line("first", 30) + "\n" + line("last", 68) + "!\n")
        << "30 + 1 + 69 bytes are just within the budget";
    EXPECT_EQ(selectPassages(blank + "!!", "anything", 100), line("first", 30) + "\n");
    EXPECT_EQ(selectPassages("", "anything", 0), "");
}

TEST(Passages, ShortLinesAreLeftOutAndLongOnesCut) {
    const std::string menu = line("menu", 25);
    const std::string label = line("label", 26);
    EXPECT_EQ(selectPassages(menu + "\n" + label + "\n" + menu, "menu", 60), label + "\n");
    EXPECT_EQ(selectPassages(menu + "\n" + menu + "\n" + menu, "menu", 60), "");

    // A line is cut before it is measured, and before words are looked for.
    const std::string tooLong = line("long", 700) + " harbour";
    EXPECT_EQ(selectPassages(tooLong, "", 600), tooLong.substr(0, 600) + "\n");
    EXPECT_EQ(selectPassages(tooLong, "", 599), "");
    const std::string text =
        label + "\n" + label + "\n" + label + "\n" + tooLong + "\n" + line("harbour", 600);
    EXPECT_EQ(selectPassages(text, "harbour", 600), line("harbour", 600) + "\n");

    // A character that the cut would split is left out whole.
    const std::string accents = line("long", 599) + "\u00E9 and so on";
    EXPECT_EQ(selectPassages(accents, "", 600), accents.substr(0, 599) + "\n");
}

TEST(Passages, TheQuestionsWordsChooseTheLines) {
    const std::string lines[] = {line("zero", 40),
                                 line("one", 40),
                                 line("two", 40),
                                 line("three speaks of the HARBOUR wall", 40),
                                 line("four", 40),
                                 line("five: a harbour and a lighthouse", 40),
                                 line("six: lighthouses", 40)};
    std::string text;
    for (const std::string& each : lines)
        text += each + "\n";
    struct Case {
        const char* question;
        size_t lineCount;  ///< that the budget has room for
        std::vector<size_t> chosen;
    };
    const Case cases[] = {
        {"", 3, {0, 1, 2}},
        {"", 5, {0, 1, 2, 3, 4}},
        {"is it so, or not?", 4, {0, 1, 2, 3}},
        {"Lighthouse?", 1, {5}},
        {"Lighthouse?", 2, {5, 6}},
        {"Lighthouse?", 4, {0, 1, 5, 6}},
        {"harbour lighthouse", 2, {3, 5}},
        // A word said twice counts twice.
        {"harbour lighthouse lighthouse", 2, {5, 6}},
        {"the harbour's LIGHTHOUSE-lighthouse", 2, {5, 6}},
        // Words of three letters don't count; digits do, and any other byte ends a word.
        {"two", 1, {0}},
        {"harbo\u00FCr", 1, {3}},
        {"har bour", 1, {3}},
        {"harbour2", 1, {0}},
    };
    for (const Case& item : cases) {
        std::string expected;
        for (const size_t index : item.chosen)
            expected += lines[index] + "\n";
        EXPECT_EQ(selectPassages(text, item.question, item.lineCount * 41), expected)
            << item.question << ", " << item.lineCount;
    }
}

TEST(Passages, AShorterLineFurtherDownFillsTheSpace) {
    const std::string first = line("first", 60);
    const std::string big = line("the harbour is big", 50);
    const std::string small = line("small", 30);
    const std::string text = first + "\n" + first + "\n" + first + "\n" + small + "\n" + big;
    EXPECT_EQ(selectPassages(text, "harbour", 81), small + "\n" + big + "\n");
    EXPECT_EQ(selectPassages(text, "harbour", 80), big + "\n");
}

TEST(Passages, TheFirstThreeUsefulLinesAreThoseThatCount) {
    const std::string text = "menu\n" + line("a", 30) + "\nmenu\n" + line("b", 30) + "\n" + line("c", 30) +
                             "\n" + line("d", 30) + "\n" + line("e", 30);
    EXPECT_EQ(selectPassages(text, "", 93),
              line("a", 30) + "\n" + line("b", 30) + "\n" + line("c", 30) + "\n");
}

}  // namespace
