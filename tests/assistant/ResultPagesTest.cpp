#include "assistant/ResultPages.h"

#include <gtest/gtest.h>

#include "support/TestData.h"

namespace {

/// "title | url | snippet" for each hit.
std::vector<std::string> lines(const std::vector<SearchHit>& hits) {
    std::vector<std::string> all;
    for (const SearchHit& hit : hits)
        all.push_back(hit.title + " | " + hit.url + " | " + hit.snippet);
    return all;
}

using Lines = std::vector<std::string>;

TEST(ResultPages, ReadsDuckDuckGosPage) {
    EXPECT_EQ(
        lines(parseDuckDuckGo(readTestData("search-duckduckgo.html"))),
        (Lines{
            "Harwich tide tables & moon phases | https://tides.example.org/tables?port=harwich&year=2031 | "
            "High \"water\" and low water at Harwich , day by day \u2013 with the moon's age.",
            "The moon this month | https://almanac.example.net/moon | ",
            "Walking the coast \u2014 a <short> guide | https://coast.example.com/guide/caf\u00E9 "
            "stops?from=a+b | Where the path leaves the beach, which causeways lie under water for "
            "two "
            "hours on either side of high water, where to wait for it in the dry, and who serves tea and a "
            "pi\u00E8ce of cake.",
            "East coast pilot\nnotes | http://pilot.example.org/east-coast.html | Buoys, lights "
            "and\nstreams.",
            "Why are there two tides a day? | https://school.example.edu/why-tides | The moon pulls on the "
            "near "
            "side more than on the far side.",
            "The tide mill | https://museum.example.org/tide-mill | Grinds corn twice a day."}));
    EXPECT_EQ(
        lines(parseDuckDuckGo(readTestData("search-duckduckgo-few.html"))),
        (Lines{"Harwich tide tables & moon phases | "
               "https://tides.example.org/tables?port=harwich&year=2031 | High and low water at Harwich.",
               "Harwich: sun and moon | https://almanac.example.net/harwich | Rising and setting."}));
    EXPECT_EQ(lines(parseDuckDuckGo(readTestData("search-bing.html"))), Lines{});
    EXPECT_EQ(lines(parseDuckDuckGo(readTestData("page.html"))), Lines{});
}

TEST(ResultPages, ReadsBingsPage) {
    EXPECT_EQ(
        lines(parseBing(readTestData("search-bing.html"))),
        (Lines{
            "Harwich tide tables | https://tides.example.org/tables?port=harwich&year=2031 | 2 days ago "
            "\u00B7 High and low water.",
            "Tidal streams & speeds | https://sea.example.com/streams?speed=2.5&area=\u00FCber | Where the "
            "water runs > 2 knots.",
            "Berths for visitors | https://harbour.example.net/berths?free=1&length=9 | Ask on arrival.",
            "The lifeboat | https://lifeboat.example.org/~crew/?>> | ",
            "Tide gauge, live | https://gauge.example.org/now | Every six minutes.",
            "Waders of the estuary | http://birds.example.org/waders | Godwit, knot and dunlin."}));
    EXPECT_EQ(lines(parseBing(readTestData("search-duckduckgo.html"))), Lines{});
}

TEST(ResultPages, DuckDuckGosBrokenRows) {
    const std::string link = "<a class=\"result__a\" href=\"";
    const std::string snippet = "<a class=\"result__snippet\">";
    const auto farLink = [](size_t distance) {
        const std::string marker = "class=\"result__a\"";
        return "<a " + marker + std::string(distance - marker.size(), ' ') +
               "href=\"http://a.example/\">A</a>";
    };
    const std::pair<std::string, Lines> cases[] = {
        {"", {}},
        {"class=\"result__a\"", {}},
        {"class=\"result__a\" href=\"http://a.example/\">A", {"A | http://a.example/ | "}},
        {link + "http://a.example/", {}},
        {link + "http://a.example/\"", {}},
        {link + "http://a.example/\">", {}},
        {link + "http://a.example/\">A", {"A | http://a.example/ | "}},
        {link + "http://a.example/\">A</a>" + snippet + "cut", {"A | http://a.example/ | cut"}},
        {link + "http://a.example/\">A</a>" + snippet, {"A | http://a.example/ | "}},
        // The address must be near the marker; it may stand before it, but in the same tag.
        {farLink(399), {"A | http://a.example/ | "}},
        {farLink(400), {}},
        {"<a href=\"http://x.example/\">X</a><a href=\"http://a.example/\" class=\"result__a\">A</a>",
         {"A | http://a.example/ | "}},
        {"<a href=\"http://x.example/\">X</a><a class=\"result__a\">A</a>", {}},
        // A result without a snippet can't take the next one's, nor one that stood before it.
        {link + "http://a.example/\">A</a>" + link + "http://b.example/\">B</a>" + snippet + "S</a>",
         {"A | http://a.example/ | ", "B | http://b.example/ | S"}},
        {snippet + "S</a>" + link + "http://a.example/\">A</a>", {"A | http://a.example/ | "}},
        {link + "http://a.example/\">A</a>" + snippet + "S</a>" + snippet + "T</a>",
         {"A | http://a.example/ | S"}},
        {link + "http://a.example/\">A</a>" + snippet + "S</a>" + link + "http://b.example/\">B</a>",
         {"A | http://a.example/ | S", "B | http://b.example/ | "}},
        {link + "//d.example/l/?uddg=http%3A%2F%2Fa.example%2F%3Fb%26c+d\">A</a>",
         {"A | http://a.example/?b&c d | "}},
        {link + "//d.example/l/?uddg=ftp%3A%2F%2Fa.example%2F\">A</a>", {}},
        {link + "/relative\">A</a>" + link + "javascript:x\">A</a>" + link + "\">A</a>", {}},
        {link + "//duckduckgo.com/y.js?x\">A</a>" + link + "//duckduckgo.com/z.js\">B</a>",
         {"B | https://duckduckgo.com/z.js | "}},
        {"<a CLASS=\"result__a\" href=\"http://a.example/\">A</a>", {}},
        {"<a class='result__a' href=\"http://a.example/\">A</a>", {}},
    };
    for (const auto& [html, hits] : cases)
        EXPECT_EQ(lines(parseDuckDuckGo(html)), hits) << html;
}

TEST(ResultPages, BingsBrokenBlocks) {
    const std::string block = "<li class=\"b_algo\">";
    const std::pair<std::string, Lines> cases[] = {
        {"", {}},
        {"class=\"b_algo\"", {}},
        {block + block + block, {}},
        {block + "<h2><a href=\"http://a.example/\">A</a></h2><p>S</p>", {"A | http://a.example/ | S"}},
        {block + "<h2><a href=\"http://a.example/\">A", {"A | http://a.example/ | "}},
        {block + "<h2><a href=\"http://a.example/\">A</a></h2><p>cut", {"A | http://a.example/ | cut"}},
        {block + "<h2><a href=\"http://a.example/", {}},
        {block + "<h2><a href=\"http://a.example/\">", {}},
        // Everything comes from the block itself.
        {block + "<h2>A</h2>" + block + "<h2><a href=\"http://b.example/\">B</a></h2>",
         {"B | http://b.example/ | "}},
        {block + "<h2><a href=\"http://a.example/\">A</a></h2>" + block + "<p>of the next</p>",
         {"A | http://a.example/ | "}},
        {block +
             "<p>before</p><a href=\"http://x.example/\">X</a><h2><a href=\"http://a.example/\">A</a></h2>",
         {"A | http://a.example/ | "}},
        {"<h2><a href=\"http://a.example/\">A</a></h2>" + block, {}},
        // "&u=" goes before "?u="; the value ends at the next "&"; another version's marker is no redirect.
        {block + "<h2><a href=\"http://b.example/?u=a1eA&amp;u=a1aHR0cDovL2EuZXhhbXBsZS8&x\">A</a></h2>",
         {"A | http://a.example/ | "}},
        {block + "<h2><a href=\"http://b.example/?u=a2eA&amp;amp;u=a1\">A</a></h2>",
         {"A | http://b.example/?u=a2eA&amp;u=a1 | "}},
        {block + "<h2><a href=\"http://b.example/?u=a1\">A</a></h2>", {}},
    };
    for (const auto& [html, hits] : cases)
        EXPECT_EQ(lines(parseBing(html)), hits) << html;
}

TEST(ResultPages, SixHitsAreEnough) {
    std::string duckDuckGo;
    std::string bing;
    for (int i = 1; i <= 7; ++i) {
        const std::string address = "\"http://a.example/" + std::to_string(i) + "\"";
        duckDuckGo += "<a class=\"result__a\" href=" + address + ">A</a>";
        bing += "<li class=\"b_algo\"><h2><a href=" + address + ">A</a></h2>";
    }
    EXPECT_EQ(parseDuckDuckGo(duckDuckGo).size(), 6u);
    EXPECT_EQ(parseDuckDuckGo(duckDuckGo).back().url, "http://a.example/6");
    EXPECT_EQ(parseBing(bing).size(), 6u);
    EXPECT_EQ(parseBing(bing).back().url, "http://a.example/6");
}

}  // namespace
