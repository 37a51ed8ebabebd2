// Searching and reading pages, with the engines and pages on a loopback server.

#include "assistant/PageReader.h"
#include "assistant/WebFixture.h"
#include "assistant/WebSearch.h"
#include "support/RawListener.h"
#include "support/TestData.h"

namespace {

const char* const nothingFound =
    "Search failed: no results could be retrieved (the search engines may be unreachable).";

Reply page(const std::string& html) {
    return makeReply(200, html, "text/html; charset=utf-8");
}

std::string repeated(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i)
        all += text;
    return all;
}

class WebNet : public WebFixture {
protected:
    WebNet() { answers = {{"/html/", makeReply(202, "")}, {"/search?", makeReply(503, "")}}; }

    std::string search(const std::string& query) { return WebSearch::search(endpoints, query, &cancel); }
    std::string read(const Reply& reply, const std::string& question = "") {
        answers["/page"] = reply;
        return PageReader::read(server.url("/page"), &cancel, question);
    }
};

TEST_F(WebNet, TheSecondEngineFillsUpWhatTheFirstLacks) {
    expectCases("search", [this](const nlohmann::json& row) { return search(row["argument"]); });
    const std::vector<Received> sent = server.requests();
    EXPECT_EQ(sent[0].method + " " + sent[0].body, "POST q=harwich+tide+%26+%C3%BC%3F&kl=us-en");
    EXPECT_EQ(sent[0].header("Content-Type"), "application/x-www-form-urlencoded");
    EXPECT_EQ(sent[2].method + sent[2].body + sent[2].header("Content-Type"), "GET");
    for (const Received& request : sent)
        EXPECT_EQ(request.header("Accept-Language"), "en-US,en;q=0.9");
}

TEST_F(WebNet, ACancelledSearchAsksNobodyElse) {
    answers["/html/"].holdHeaders = std::make_shared<Gate>();
    cancelsOnRequest = true;
    EXPECT_EQ(search("tide"), nothingFound);
    EXPECT_EQ(paths(), Lines{"/html/"});
    EXPECT_EQ(logged(), (Lines{"ddg search failed: status=0 err=cancelled", "search 'tide' -> 0 hits"}));
}

TEST_F(WebNet, WhatIsNotUtf8IsRepairedAndSnippetsAreCut) {
    const std::string title = std::string(300, 't');
    answers["/html/"] = page(
        "<a class=\"result__a\" href=\"http://a.example/\">Caf\xE9</a><a class=\"result__snippet\">" +
        std::string(171, 's') + "</a><a class=\"result__a\" href=\"/l/?uddg=http%3A%2F%2Fb.example%FF\">" +
        title + "</a><a class=\"result__snippet\">" + std::string(100, '\xE9') + "</a>");
    EXPECT_EQ(search("tide"), "1. Caf\uFFFD\n   http://a.example/\n   " + std::string(170, 's') + "\n2. " +
                                  title + "\n   http://b.example\uFFFD\n   " + repeated("\uFFFD", 56) + "\n");
}

TEST_F(WebNet, APageIsReadAsText) {
    EXPECT_EQ(read(page(readTestData("page.html")), "When is the mill open?"), readTestData("page.txt"));
    const Received sent = server.requests().at(0);
    EXPECT_EQ(sent.method, "GET");
    EXPECT_EQ(sent.header("Accept"), "text/html,application/xhtml+xml,text/plain");
    EXPECT_EQ(sent.header("Accept-Language"), "en-US,en;q=0.9");

    const char* const nothing = "The page had no readable text.";
    const std::string plain = "Plain text goes the same way,\n\nas it is & without a mark.";
    EXPECT_EQ(read(makeReply(200, plain)), plain);
    EXPECT_EQ(read(page("<p>" + std::string(39, 'x') + "</p>")), nothing);
    EXPECT_EQ(read(page("<p>" + std::string(40, 'x') + "</p>")), std::string(40, 'x'));
    EXPECT_EQ(read(page("<script>" + std::string(4000, 'x'))), nothing);
}

TEST_F(WebNet, APageThatCannotBeReadSaysWhy) {
    const auto loaded = [](const std::string& reason) {
        return "Error: couldn't load the page (" + reason + ").";
    };
    for (const char* url : {"", "ftp://a.example/", "HTTP://a.example/", "a.example", "file:///etc/hosts"})
        EXPECT_EQ(PageReader::read(url, &cancel, ""), "Error: only http(s) URLs can be read.") << url;
    Reply held = page("<p>An error page has text as well, but not what was asked for.</p>");
    for (const int32_t status : {404, 500, 203}) {
        held.status = status;
        EXPECT_EQ(read(held), loaded("HTTP " + std::to_string(status)));
    }
    EXPECT_EQ(PageReader::read(nowhere(), &cancel, ""), loaded("request failed (7)"));
    EXPECT_EQ(PageReader::read("http://", &cancel, ""), loaded("bad url"));
    held.holdHeaders = std::make_shared<Gate>();
    cancelsOnRequest = true;
    EXPECT_EQ(read(held), loaded("cancelled"));
}

TEST_F(WebNet, APageThatBreaksOffIsReadAsFarAsItCame) {
    const std::string begun = "<p>" + std::string(50, 'x') + "</p><p>caf\xC3";
    RawConnection connection;
    connection.pieces = {{"HTTP/1.1 200 OK\r\nContent-Length: 9999\r\n\r\n" + begun}};
    const RawListener listener({connection});
    EXPECT_EQ(PageReader::read(listener.url("/"), &cancel, ""), std::string(50, 'x') + "\ncaf\uFFFD");

    // So is one that is bigger than what is read of a page.
    const std::string big = begun + "<!--" + std::string(1200000, '-') + "--><p>never read";
    EXPECT_EQ(read(page(big)), std::string(50, 'x') + "\ncaf\uFFFD");
}

TEST_F(WebNet, OfALongPageTheQuestionChooses) {
    std::string html = "<html><body><h1>All the ports of the coast, one by one</h1>";
    std::string chosen = "All the ports of the coast, one by one\n";
    for (int i = 1; i <= 60; ++i) {
        const std::string words = "Port number " + std::to_string(i) + " has " +
                                  (i == 57 ? "a swing bridge" : "quays and cranes") +
                                  ", and its harbour office opens at nine.";
        html += "<p>" + words + "</p><p>Back</p>";
        if (i <= 27 || i == 57) chosen += words + "\n";
    }
    EXPECT_EQ(read(page(html), "Which one has the swing BRIDGE?"), chosen);
    EXPECT_EQ(read(page(repeated("<li>only a short label</li>", 200))), "");
}

TEST_F(WebNet, APageInAnotherEncodingBecomesValidText) {
    EXPECT_EQ(read(page("<p>Le caf\xE9 \xE0 c\xF4t\xE9 du port est ouvert le matin.</p>")),
              "Le caf\uFFFD \uFFFD c\uFFFDt\uFFFD du port est ouvert le matin.");
    // Repairing makes it longer: it is chosen from as it will be, and cut between characters.
    EXPECT_EQ(read(page("<p>" + std::string(2000, '\xE9') + "</p>")), repeated("\uFFFD", 200) + "\n");
}

}  // namespace
