#include "assistant/QuestionWords.h"

#include "assistant/TextCases.h"

namespace {

TEST(PreRouting, FindsTheLinkedPages) {
    expectCases("linkedUrls", linkedUrls);
}

TEST(PreRouting, FindsTheWeatherAndItsPlace) {
    expectCases("asksForWeather", asksForWeather);
    expectCases("weatherPlace", weatherPlace);
}

TEST(PreRouting, KnowsWhatIsCurrent) {
    expectCases("needsSearch", needsSearch);
}

TEST(PreRouting, TheQueryIsTheQuestionWithoutItsTrimmings) {
    expectCases("searchQuery", [](const std::string& question) { return searchQuery(question, 2031); });
}

TEST(PreRouting, LongAddressesAreShownShort) {
    const std::string sixty = "http://a.example/" + std::string(43, 'b');
    EXPECT_EQ(shortUrl(sixty), sixty);
    EXPECT_EQ(shortUrl(sixty + "c"), sixty.substr(0, 57) + "...");
    const std::string accent = sixty.substr(0, 56) + "\u00E9cc";
    EXPECT_EQ(shortUrl(accent), accent) << "60 bytes";
    EXPECT_EQ(shortUrl(accent + "c"), sixty.substr(0, 56) + "...") << "no half a character is shown";
}

}  // namespace
