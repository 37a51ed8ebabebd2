#include "assistant/ResultPages.h"

#include "assistant/TextCases.h"

namespace {

/// Title, address and snippet of each hit, with these between and behind them.
std::string text(const std::vector<SearchHit>& hits, const std::string& between, const std::string& end) {
    std::string all;
    for (const SearchHit& hit : hits)
        all.append(hit.title).append(between).append(hit.url).append(between).append(hit.snippet).append(end);
    return all;
}

std::string line(const std::vector<SearchHit>& hits) {
    return text(hits, "|", ";");
}

TEST(ResultPages, ReadsThePagesOfBothEngines) {
    for (const char* name : {"search-duckduckgo", "search-duckduckgo-few", "search-bing", "page"}) {
        const std::string html = readTestData(std::string(name) + ".html");
        const std::string hits = name == std::string("page") ? "" : readTestData(name + std::string(".txt"));
        const bool isBing = name == std::string("search-bing");
        EXPECT_EQ(text(parseDuckDuckGo(html), "\n   ", "\n"), isBing ? "" : hits) << name;
        EXPECT_EQ(text(parseBing(html), "\n   ", "\n"), isBing ? hits : "") << name;
    }
}

TEST(ResultPages, BrokenRowsGiveWhatIsWholeInThem) {
    expectCases("parseDuckDuckGo", [](const std::string& html) { return line(parseDuckDuckGo(html)); });
    expectCases("parseBing", [](const std::string& html) { return line(parseBing(html)); });
    // The address must be near the marker.
    const std::string marker = "class=\"result__a\"";
    for (const size_t distance : {399, 400}) {
        const std::string gap(distance - marker.size(), ' ');
        const std::string html = "<a " + marker + gap + "href=\"http://a/\">A</a>";
        EXPECT_EQ(parseDuckDuckGo(html).size(), distance < 400 ? 1u : 0u) << distance;
    }
}

TEST(ResultPages, SixHitsAreEnough) {
    std::string duckDuckGo;
    std::string bing;
    std::string six;
    for (int i = 1; i <= 7; ++i) {
        const std::string address = "http://a/" + std::to_string(i);
        duckDuckGo += "<a class=\"result__a\" href=\"" + address + "\">A</a>";
        bing += "<li class=\"b_algo\"><h2><a href=\"" + address + "\">A</a></h2>";
        if (i <= 6) six += "A|" + address + "|;";
    }
    EXPECT_EQ(line(parseDuckDuckGo(duckDuckGo)), six);
    EXPECT_EQ(line(parseBing(bing)), six);
}

}  // namespace
