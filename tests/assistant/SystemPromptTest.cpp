#include "assistant/SystemPrompt.h"

#include <gtest/gtest.h>

#include "support/TestData.h"

namespace {

TEST(SystemPrompt, HoldsJustWhatIsKnownInItsOrder) {
    PromptContext context;
    context.now.tm_year = 126;
    context.now.tm_mon = 2;
    context.now.tm_mday = 5;
    context.now.tm_wday = 4;
    EXPECT_EQ(systemPrompt(context), readTestData("system-prompt-bare.txt"));

    context.facts = {"likes tea", "has a\ndog"};
    context.userName = "Zo\xC3\xAB";
    context.seen = "an unrecognized person";
    context.locationName = "Dallas, Texas";
    EXPECT_EQ(systemPrompt(context), readTestData("system-prompt.txt"));

    const std::string bare = readTestData("system-prompt-bare.txt") + "Things you remember about the user:\n";
    context = {context.now, "", "", "", {}};
    std::string newest;
    for (int i = 1; i <= 40; ++i) {
        context.facts.push_back("fact " + std::to_string(i) + ".");
        if (i > 1) newest += "- " + context.facts.back() + "\n";
    }
    EXPECT_EQ(systemPrompt(context), bare + "- fact 1.\n" + newest);
    context.facts.emplace_back("fact 41.");
    EXPECT_EQ(systemPrompt(context), bare + newest + "- fact 41.\n");
}

}  // namespace
