#include "assistant/SystemPrompt.h"

#include <gtest/gtest.h>

namespace {

TEST(SystemPrompt, HoldsJustWhatIsKnownInItsOrder) {
    PromptContext context;
    context.now.tm_year = 126;
    context.now.tm_mon = 2;
    context.now.tm_mday = 5;
    context.now.tm_wday = 4;
    const std::string bare = systemPrompt(context);
    const std::string date = "Today is Thursday, March 05, 2026 (use get_datetime for the exact time).\n";
    ASSERT_EQ(bare.size(), 951 + date.size()) << "the fixed opening has 951 bytes";
    const std::string opening = bare.substr(0, 951);
    EXPECT_EQ(bare.substr(951), date);
    EXPECT_EQ(opening.rfind(
                  "You are Velu, a small AI companion living on the user's Windows desktop as a floating", 0),
              0u);

    context.facts = {"likes tea", "has a\ndog"};
    context.userName = "Zo\xC3\xAB";
    context.seen = "an unrecognized person";
    context.locationName = "Dallas, Texas";
    EXPECT_EQ(
        systemPrompt(context),
        opening + date +
            "Through your camera you currently see: an unrecognized person. (You cannot see anything else.)\n"
            "The user's location (approximate, from their IP address unless they told you): Dallas, Texas. "
            "If it "
            "seems wrong, ask and use set_location.\n"
            "The user's name is Zo\xC3\xAB.\n"
            "Things you remember about the user:\n- likes tea\n- has a\ndog\n");

    context = {};
    for (int i = 1; i <= 41; ++i)
        context.facts.push_back("fact " + std::to_string(i) + ".");
    const std::string crowded = systemPrompt(context);
    EXPECT_EQ(crowded.find("- fact 1.\n"), std::string::npos);
    EXPECT_NE(crowded.find("user:\n- fact 2.\n"), std::string::npos);
    EXPECT_NE(crowded.find("- fact 41.\n"), std::string::npos);
}

}  // namespace
