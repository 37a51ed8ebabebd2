// Searching and reading pages, against servers on the loopback interface.

#include <gtest/gtest.h>

#include "assistant/PageReader.h"
#include "assistant/WebSearch.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "support/LoopbackServer.h"
#include "support/RawListener.h"
#include "support/TestData.h"

namespace {

using Lines = std::vector<std::string>;

const char* const nothingFound =
    "Search failed: no results could be retrieved (the search engines may be unreachable).";

/// The log's lines without their times.
Lines logged() {
    std::string bytes;
    Lines lines;
    if (!readWholeFile(joinPath(dataFolder(), "velu.log"), bytes)) return lines;
    for (size_t at = 0, end = 0; (end = bytes.find('\n', at)) != std::string::npos; at = end + 1)
        lines.push_back(bytes.substr(at + 9, end - at - 9));
    return lines;
}

/// An address on which nobody listens.
std::string nowhere() {
    return LoopbackServer(std::vector<Reply>{}).url();
}

Reply page(const std::string& html) {
    return makeReply(200, html, "text/html; charset=utf-8");
}

/// Both engines and a page on one server; what each answers is the test's choice.
class WebNet : public testing::Test {
protected:
    Reply answer(const Received& request) {
        const auto begins = [&](const char* path) { return request.path.rfind(path, 0) == 0; };
        if (cancelOnRequest) cancel = true;
        if (begins("/html/")) return duckDuckGo;
        if (begins("/search?")) return bing;
        if (begins("/page")) return article;
        return makeReply(404, "");
    }

    std::string search(const std::string& query) { return WebSearch::search(endpoints, query, &cancel); }
    std::string read(const Reply& reply, const std::string& question = "") {
        article = reply;
        return PageReader::read(server.url("/page"), &cancel, question);
    }

    /// The paths of the requests so far.
    Lines paths() const {
        Lines all;
        for (const Received& request : server.requests())
            all.push_back(request.path);
        return all;
    }

    std::atomic<bool> cancel = false;
    std::atomic<bool> cancelOnRequest = false;
    Reply duckDuckGo = makeReply(202, "");
    Reply bing = makeReply(503, "");
    Reply article;
    LoopbackServer server{[this](const Received& request) { return answer(request); }};
    Endpoints endpoints = allAt(server.url());

    static Endpoints allAt(const std::string& url) {
        Endpoints all;
        all.duckDuckGo = all.bing = url;
        return all;
    }
};

TEST_F(WebNet, AFullFirstPageIsAnswerEnough) {
    duckDuckGo = page(readTestData("search-duckduckgo.html"));
    EXPECT_EQ(search("harwich tide & \u00FC?"),
              "1. Harwich tide tables & moon phases\n"
              "   https://tides.example.org/tables?port=harwich&year=2031\n"
              "   High \"water\" and low water at Harwich , day by day \u2013 with the moon's age.\n"
              "2. The moon this month\n"
              "   https://almanac.example.net/moon\n"
              "   \n"
              "3. Walking the coast \u2014 a <short> guide\n"
              "   https://coast.example.com/guide/caf\u00E9 stops?from=a+b\n"
              "   Where the path leaves the beach, which causeways lie under water for two hours on either "
              "side of high water, where to wait for it in the dry, and who serves tea and a pi\n"
              "4. East coast pilot\nnotes\n"
              "   http://pilot.example.org/east-coast.html\n"
              "   Buoys, lights and\nstreams.\n");
    ASSERT_EQ(server.requests().size(), 1u);
    const Received sent = server.requests().front();
    EXPECT_EQ(sent.method, "POST");
    EXPECT_EQ(sent.path, "/html/");
    EXPECT_EQ(sent.body, "q=harwich+tide+%26+%C3%BC%3F&kl=us-en");
    EXPECT_EQ(sent.header("Content-Type"), "application/x-www-form-urlencoded");
    EXPECT_EQ(sent.header("Accept-Language"), "en-US,en;q=0.9");
    EXPECT_EQ(logged(), Lines{"search 'harwich tide & \u00FC?' -> 6 hits"});
}

TEST_F(WebNet, TheSecondEngineFillsUpWithoutRepeating) {
    duckDuckGo = page(readTestData("search-duckduckgo-few.html"));
    bing = page(readTestData("search-bing.html"));
    EXPECT_EQ(search("harwich tide"),
              "1. Harwich tide tables & moon phases\n"
              "   https://tides.example.org/tables?port=harwich&year=2031\n"
              "   High and low water at Harwich.\n"
              "2. Harwich: sun and moon\n"
              "   https://almanac.example.net/harwich\n"
              "   Rising and setting.\n"
              "3. Tidal streams & speeds\n"
              "   https://sea.example.com/streams?speed=2.5&area=\u00FCber\n"
              "   Where the water runs > 2 knots.\n"
              "4. Berths for visitors\n"
              "   https://harbour.example.net/berths?free=1&length=9\n"
              "   Ask on arrival.\n");
    ASSERT_EQ(server.requests().size(), 2u);
    const Received sent = server.requests().back();
    EXPECT_EQ(sent.method, "GET");
    EXPECT_EQ(sent.path, "/search?q=harwich+tide&setlang=en-US");
    EXPECT_EQ(sent.body, "");
    EXPECT_EQ(sent.header("Accept-Language"), "en-US,en;q=0.9");
    EXPECT_EQ(sent.header("Content-Type"), "");
    EXPECT_EQ(logged(), Lines{"search 'harwich tide' -> 7 hits"});

    // What the first engine brought stands alone when the second fails.
    bing = makeReply(429, readTestData("search-bing.html"));
    const std::string alone = search("harwich tide");
    EXPECT_EQ(alone.substr(alone.find("\n2. ")),
              "\n2. Harwich: sun and moon\n   https://almanac.example.net/harwich\n   Rising and setting.\n");
    EXPECT_EQ(logged().at(1), "bing search failed: status=429 err=");
    EXPECT_EQ(logged().at(2), "search 'harwich tide' -> 2 hits");
}

TEST_F(WebNet, AFailingFirstEngineIsReplaced) {
    const std::string first =
        "1. Harwich tide tables\n   https://tides.example.org/tables?port=harwich&year=2031\n";
    bing = page(readTestData("search-bing.html"));
    for (const int32_t status : {202, 403}) {
        duckDuckGo = makeReply(status, readTestData("search-duckduckgo.html"));
        EXPECT_EQ(search("tide").substr(0, first.size()), first) << status;
    }
    duckDuckGo = page("<html><body>Are you a robot?</body></html>");
    EXPECT_EQ(search("tide").substr(0, first.size()), first);
    endpoints.duckDuckGo = nowhere();
    EXPECT_EQ(search("tide").substr(0, first.size()), first);
    EXPECT_EQ(
        logged(),
        (Lines{"ddg search failed: status=202 err=", "search 'tide' -> 6 hits",
               "ddg search failed: status=403 err=", "search 'tide' -> 6 hits", "search 'tide' -> 6 hits",
               "ddg search failed: status=0 err=request failed (7)", "search 'tide' -> 6 hits"}));
}

TEST_F(WebNet, WithBothEnginesDownTheTextSaysSo) {
    EXPECT_EQ(search(""), nothingFound);
    EXPECT_EQ(paths(), (Lines{"/html/", "/search?q=&setlang=en-US"}))
        << "an empty query is sent like any other";
    EXPECT_EQ(server.requests().front().body, "q=&kl=us-en");
    endpoints = allAt(nowhere());
    EXPECT_EQ(search("tide"), nothingFound);
    EXPECT_EQ(logged().at(4), "bing search failed: status=0 err=request failed (7)");
    EXPECT_EQ(logged().at(5), "search 'tide' -> 0 hits");
}

TEST_F(WebNet, ACancelledSearchAsksNobodyElse) {
    bing = page(readTestData("search-bing.html"));
    duckDuckGo.holdHeaders = std::make_shared<Gate>();
    cancelOnRequest = true;
    EXPECT_EQ(search("tide"), nothingFound);
    EXPECT_EQ(paths(), Lines{"/html/"});
    EXPECT_EQ(logged(), (Lines{"ddg search failed: status=0 err=cancelled", "search 'tide' -> 0 hits"}));
}

TEST_F(WebNet, WhatIsNotUtf8IsRepairedAndSnippetsAreCut) {
    duckDuckGo = page(
        "<a class=\"result__a\" href=\"http://a.example/\">Caf\xE9</a><a class=\"result__snippet\">" +
        std::string(171, 's') + "</a><a class=\"result__a\" href=\"/l/?uddg=http%3A%2F%2Fb.example%2F%FF\">" +
        std::string(300, 't') + "</a><a class=\"result__snippet\">" + std::string(100, '\xE9') + "</a>");
    std::string replaced;
    for (int i = 0; i < 56; ++i)
        replaced += "\uFFFD";
    EXPECT_EQ(search("tide"), "1. Caf\uFFFD\n   http://a.example/\n   " + std::string(170, 's') + "\n2. " +
                                  std::string(300, 't') + "\n   http://b.example/\uFFFD\n   " + replaced +
                                  "\n");
}

TEST_F(WebNet, APageIsReadAsText) {
    const std::string text = read(page(readTestData("page.html")), "When is the mill open?");
    EXPECT_EQ(text.rfind("The tide mill at Saltby \u2013 Estuary Notes\n\nThe tide mill", 0), 0u) << text;
    EXPECT_NE(text.find("\n\nSee also\nThe salt pans"), std::string::npos)
        << "short pages come whole: " << text;
    const Received sent = server.requests().at(0);
    EXPECT_EQ(sent.method, "GET");
    EXPECT_EQ(sent.header("Accept"), "text/html,application/xhtml+xml,text/plain");
    EXPECT_EQ(sent.header("Accept-Language"), "en-US,en;q=0.9");

    const std::string plain = "Plain text goes the same way,\n\nas it is & without a mark.";
    EXPECT_EQ(read(makeReply(200, plain)), plain);
    EXPECT_EQ(read(page("<p>" + std::string(39, 'x') + "</p>")), "The page had no readable text.");
    EXPECT_EQ(read(page("<p>" + std::string(40, 'x') + "</p>")), std::string(40, 'x'));
    EXPECT_EQ(read(page("<script>" + std::string(4000, 'x'))), "The page had no readable text.");
}

TEST_F(WebNet, APageThatCannotBeReadSaysWhy) {
    for (const char* url : {"", "ftp://a.example/", "HTTP://a.example/", "a.example", "file:///etc/hosts"})
        EXPECT_EQ(PageReader::read(url, &cancel, ""), "Error: only http(s) URLs can be read.") << url;
    const std::string html = "<p>An error page has text as well, but not what was asked for.</p>";
    for (const int32_t status : {404, 500, 204, 203})
        EXPECT_EQ(read(makeReply(status, status == 204 ? "" : html)),
                  "Error: couldn't load the page (HTTP " + std::to_string(status) + ").");
    EXPECT_EQ(PageReader::read(nowhere(), &cancel, ""),
              "Error: couldn't load the page (request failed (7)).");
    EXPECT_EQ(PageReader::read("http://", &cancel, ""), "Error: couldn't load the page (bad url).");

    Reply held = page(html);
    held.holdHeaders = std::make_shared<Gate>();
    cancelOnRequest = true;
    EXPECT_EQ(read(held), "Error: couldn't load the page (cancelled).");
}

TEST_F(WebNet, APageThatBreaksOffIsReadAsFarAsItCame) {
    const std::string begun = "<p>" + std::string(50, 'x') + "</p><p>caf\xC3";
    RawConnection connection;
    connection.pieces = {{"HTTP/1.1 200 OK\r\nContent-Length: 9999\r\n\r\n" + begun}};
    const RawListener listener({connection});
    EXPECT_EQ(PageReader::read(listener.url("/"), &cancel, ""), std::string(50, 'x') + "\ncaf\uFFFD");

    // So is one that is bigger than what is read of a page.
    const std::string big =
        "<p>" + std::string(50, 'x') + "<!--" + std::string(1200000, '-') + "--><p>never read";
    const LoopbackServer bigServer({page(big)});
    EXPECT_EQ(PageReader::read(bigServer.url("/"), &cancel, ""), std::string(50, 'x'));
}

TEST_F(WebNet, OfALongPageTheQuestionChooses) {
    std::string html = "<html><body><h1>All the ports of the coast, one by one</h1>";
    for (int i = 1; i <= 60; ++i) {
        html += "<p>Port number " + std::to_string(i) + " has " +
                (i == 57 ? "a swing bridge" : "quays and cranes") +
                ", and its harbour office opens at nine.</p><p>Back</p>";
    }
    const std::string text = read(page(html + "</body></html>"), "Which one has the swing BRIDGE?");
    EXPECT_LE(text.size(), 2201u);
    EXPECT_GT(text.size(), 2000u);
    EXPECT_EQ(text.rfind("All the ports of the coast, one by one\nPort number 1 has quays", 0), 0u) << text;
    EXPECT_NE(text.find("\nPort number 57 has a swing bridge, and its harbour office opens at nine.\n"),
              std::string::npos)
        << text;
    EXPECT_EQ(text.find("Port number 56 "), std::string::npos);
    EXPECT_EQ(text.find("Back"), std::string::npos);
    EXPECT_EQ(text.find("\n\n"), std::string::npos);

    std::string labels;
    for (int i = 0; i < 200; ++i)
        labels += "<li>only a short label</li>";
    EXPECT_EQ(read(page(labels)), "");
}

TEST_F(WebNet, APageInAnotherEncodingBecomesValidText) {
    EXPECT_EQ(read(page("<p>Le caf\xE9 \xE0 c\xF4t\xE9 du port est ouvert le matin.</p>")),
              "Le caf\uFFFD \uFFFD c\uFFFDt\uFFFD du port est ouvert le matin.");
    // Repairing makes it longer: it is chosen from as it will be, and cut between characters.
    const std::string text = read(page("<p>" + std::string(2000, '\xE9') + "</p>"));
    std::string replaced;
    for (int i = 0; i < 200; ++i)
        replaced += "\uFFFD";
    EXPECT_EQ(text, replaced + "\n");
}

}  // namespace
