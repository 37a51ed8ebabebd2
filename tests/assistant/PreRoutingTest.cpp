#include "assistant/PreRouting.h"

#include <gtest/gtest.h>

namespace {

TEST(PreRouting, FindsTheLinkedPages) {
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"", {}},
        {"What is http?", {}},
        {"What does https stand for, and httpd?", {}},
        {"Read https://a.example/b?c=d#e please", {"https://a.example/b?c=d#e"}},
        {"(see http://a.example/b.)", {"http://a.example/b"}},
        {"Is it http://a.example/b)].,;:!?' or not?", {"http://a.example/b"}},
        {"\"http://a.example/b\" and <https://c.example>", {"http://a.example/b", "https://c.example"}},
        {"http://a.example\thttp://b.example\nhttp://c.example", {"http://a.example", "http://b.example"}},
        {"http://a.example\r\x0B\x0Chttp://b.example", {"http://a.example", "http://b.example"}},
        {"httphttp://a.example", {"http://a.example"}},
        {"httpx://a.example http:/b.example http://c.example", {"http://c.example"}},
        {"HTTP://a.example", {}},
        {"http://abc http://abcd", {"http://abcd"}},
        {"http://abc?! https://ab https://abc", {"https://abc"}},
        {"http://...... https://", {}},
        {"http://a.example/http://b.example http://c.example",
         {"http://a.example/http://b.example", "http://c.example"}},
        {"http://a.example http://a.example", {"http://a.example", "http://a.example"}},
        {"http://caf\u00E9.example/x", {"http://caf\u00E9.example/x"}},
        {"see http://a.example/(b)c'd", {"http://a.example/(b)c'd"}},
    };
    for (const auto& [question, urls] : cases)
        EXPECT_EQ(linkedUrls(question), urls) << question;
}

TEST(PreRouting, FindsTheWeatherAndItsPlace) {
    const std::pair<std::string, std::string> places[] = {
        {"What's the weather?", ""},
        {"What's the weather in Paris?", "Paris"},
        {"WEATHER IN New York City. Quick!", "New York City"},
        {"weather in Dallas, Texas! Or not", "Dallas, Texas"},
        {"forecast for Oslo tomorrow", "Oslo"},
        {"forecast for Oslo Tomorrow?", "Oslo"},
        {"forecast for tomorrow in Oslo", "Oslo"},
        {"forecast for Oslo and Bergen in winter", "winter"},
        {"What is a forecast for", ""},
        {"Is it raining in Oslo tonight today?", "Oslo"},
        {"Is it raining in Oslo today tonight?", "Oslo today"},
        {"weather in Oslo right now", "Oslo"},
        {"weather in Oslo this week", "Oslo"},
        {"weather in Oslo this weekend", "Oslo"},
        {"weather in Oslo this weekend this week", "Oslo"},
        {"weather in Oslo this week this weekend", "Oslo this week"},
        {"weather in Oslo today ", "Oslo today "},
        {"weather for today", "today"},
        {"weather in today", "today"},
        {"weather in  today", ""},
        {"weather in my area", ""},
        {"weather in my location today?", ""},
        {"weather for the area this week", ""},
        {"weather in here", ""},
        {"weather in Here", "Here"},
        {"weather in here ", "here "},
        {"weather in St. Ives", "St"},
        {"weather in ?", ""},
        {"the weather within Oslo", ""},
        {"weather in M\u00FCnchen?", "M\u00FCnchen"},
    };
    for (const auto& [question, place] : places)
        EXPECT_EQ(weatherPlace(question), place) << question;

    for (const char* question :
         {"weather", "Bad WEATHER!", "forecasts", "what is the temperature outside", "Is it raining?"})
        EXPECT_TRUE(asksForWeather(question)) << question;
    for (const char* question :
         {"", "wether", "temperature", "outside temperature", "is it snowing", "is it  raining"})
        EXPECT_FALSE(asksForWeather(question)) << question;
}

TEST(PreRouting, KnowsWhatIsCurrent) {
    for (const char* question : {"What's the LATEST?", "Any newspapers here", "How much does a horse cost?",
                                 "an underscore", "Who is the CEO of it?", "Give me an update on that"})
        EXPECT_TRUE(needsSearch(question)) << question;
    for (const char* question :
         {"", "Tell me a joke", "Who was the president?", "this  week", "How are you?"})
        EXPECT_FALSE(needsSearch(question)) << question;
}

TEST(PreRouting, TheQueryIsTheQuestionWithoutItsTrimmings) {
    const std::pair<std::string, std::string> cases[] = {
        {"latest news?", "latest news 2031"},
        {"Hey Velu, latest NEWS", "latest NEWS 2031"},
        {"hey velu latest news", "latest news 2031"},
        {"VELU, latest news", "latest news 2031"},
        {"Velu latest news", "latest news 2031"},
        {"velu, hey velu, latest news", "hey velu, latest news 2031"},
        {"hey velu,latest news", "hey velu,latest news 2031"},
        {"velu,latest news", "velu,latest news 2031"},
        {"velus latest news", "velus latest news 2031"},
        {" velu, latest news", "velu, latest news 2031"},
        {"velu, ", " 2031"},
        {"\" ?latest news? \"?", "?latest news 2031"},
        {" \" latest \"big\" news\" ", "latest \"big\" news 2031"},
        {"latest news!", "latest news! 2031"},
        {"latest news of 2019", "latest news of 2019"},
        {"latest news of 1999", "latest news of 1999 2031"},
        {"top 20 today", "top 20 today"},
        {"news, flight 1205", "news, flight 1205"},
        {"who won 2 0", "who won 2 0 2031"},
        {"?", " 2031"},
        {"", " 2031"},
    };
    for (const auto& [question, query] : cases)
        EXPECT_EQ(searchQuery(question, 2031), query) << question;
}

TEST(PreRouting, LongAddressesAreShownShort) {
    const std::string sixty = "http://a.example/" + std::string(43, 'b');
    EXPECT_EQ(shortUrl(sixty), sixty);
    EXPECT_EQ(shortUrl(sixty + "c"), sixty.substr(0, 57) + "...");
    const std::string accent = sixty.substr(0, 56) + "\u00E9cc";
    EXPECT_EQ(shortUrl(accent), accent) << "60 bytes";
    EXPECT_EQ(shortUrl(accent + "c"), sixty.substr(0, 56) + "...") << "no half a character is shown";
    EXPECT_EQ(shortUrl(""), "");
}

}  // namespace
