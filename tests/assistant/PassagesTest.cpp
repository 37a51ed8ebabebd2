#include "assistant/Passages.h"

#include "assistant/TextCases.h"

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
    // Each row: a question, the number of lines that the budget has room for, the chosen lines.
    for (const nlohmann::json& row : textCases("selectPassages")) {
        std::string expected;
        for (const size_t index : row[2])
            expected += lines[index] + "\n";
        const auto budget = row[1].get<size_t>() * 41;
        EXPECT_EQ(selectPassages(text, row[0].get<std::string>(), budget), expected) << row;
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
