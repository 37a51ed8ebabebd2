#include "core/CommandLine.h"

#include <gtest/gtest.h>

namespace {

TEST(CommandLine, TheFirstSwitchOfTheOrderWins) {
    const struct {
        std::vector<std::string> words;
        RunMode mode;
        std::string arguments;
    } cases[] = {
        {{"--ask"}, RunMode::window, ""},
        {{"--ask", ""}, RunMode::ask, ""},
        {{"--ask", "what time is it"}, RunMode::ask, "\"what time is it\""},
        {{"--ask", "x", "--search", "y"}, RunMode::search, "y"},
        {{"--search", "x", "--ask", "y"}, RunMode::search, "x --ask y"},
        {{"--shot", "--ask", "y"}, RunMode::ask, "y"},
        {{"--size", "9", "--shot"}, RunMode::capture, ""},
        {{"--wavtest", "a b.wav", "--followup"}, RunMode::wavTest, "\"a b.wav\" --followup"},
        {{"--ask", "bad\xFF"}, RunMode::ask, "bad\xEF\xBF\xBD"},
    };
    for (const auto& item : cases) {
        const ModeChoice choice = chooseMode(commandLineText(item.words));
        EXPECT_EQ(choice.mode, item.mode) << testing::PrintToString(item.words);
        EXPECT_EQ(choice.arguments, item.arguments);
    }
}

TEST(CommandLine, OnlyAPairOfQuotesComesOff) {
    const std::pair<std::string, std::string> cases[] = {
        {"\"inner\"", "inner"}, {"\"left", "\"left"}, {"right\"", "right\""},
        {"\"", "\""},           {"\"\"", ""},         {"\"say \"hi\" now\"", "say \"hi\" now"},
    };
    for (const auto& [text, stripped] : cases)
        EXPECT_EQ(stripQuotes(text), stripped);
}

}  // namespace
