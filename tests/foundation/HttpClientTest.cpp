#include "foundation/HttpClient.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "support/LoopbackServer.h"
#include "support/TestData.h"

namespace {

void expectHeaders(const Received& received, const Headers& headers) {
    for (const auto& [name, value] : headers)
        EXPECT_EQ(received.header(name), value) << name;
}

TEST(HttpClient, SendsWhatTheRequestSays) {
    const LoopbackServer server([](const Received& received) { return makeReply(200, received.body); });
    HttpRequest request;
    request.method = "POST";
    request.headers = {{"Content-Type", "application/json"}, {"X-Other", "1"}};
    request.body = std::string("{\"a\":\0}", 7);
    const HttpResponse response = HttpClient::send(server.url("/path?q=a%20b&x=1"), request);
    EXPECT_EQ(std::tuple(response.status, response.error, response.body), std::tuple(200, "", request.body));
    const Received first = server.requests().at(0);
    EXPECT_EQ(first.method + " " + first.path, "POST /path?q=a%20b&x=1");
    expectHeaders(first, {{"User-Agent", "Mozilla/5.0 (Windows NT 10.0; Win64; x64) Velu/1.0"},
                          {"Content-Type", "application/json"},
                          {"X-Other", "1"},
                          {"Accept", "*/*"},
                          {"Accept-Encoding", "gzip, deflate"},
                          {"Range", ""},
                          {"Expect", ""}});

    // A bare host asks for "/"; the caller's own headers replace the client's.
    HttpRequest own;
    own.headers = {{"aCCept", "text/html"}, {"accept-ENCODING", "identity"}};
    HttpClient::send(server.url(), own);
    const Received second = server.requests().at(1);
    EXPECT_EQ(second.method + " " + second.path, "GET /");
    expectHeaders(second, {{"Accept", "text/html"}, {"Accept-Encoding", "identity"}, {"Content-Type", ""}});
}

TEST(HttpClient, RefusesUrlsThatItCannotSplit) {
    const std::string longPart(4096, 'p');
    for (const std::string& url :
         {std::string(), std::string("127.0.0.1/path"), std::string("/path"), std::string("http://"),
          std::string("http://host:port/"), std::string("ftp://127.0.0.1/"),
          std::string("file:///etc/passwd"), "http://" + std::string(256, 'h') + "/",
          "http://127.0.0.1/" + longPart, "http://127.0.0.1/?" + longPart}) {
        const HttpResponse response = HttpClient::send(url, {});
        EXPECT_EQ(response.error, "bad url") << url;
        EXPECT_EQ(response.status, 0);
    }
}

TEST(HttpClient, AnErrorStatusIsDeliveredLikeAnyOther) {
    const LoopbackServer server({makeReply(404, "not here"), makeReply(500, "broken")});
    const HttpResponse first = HttpClient::send(server.url("/"), {});
    EXPECT_EQ(std::tuple(first.status, first.body, first.error), std::tuple(404, "not here", ""));

    std::string streamed;
    HttpRequest request;
    request.onData = [&](const char* bytes, size_t count) {
        streamed.append(bytes, count);
        return true;
    };
    const HttpResponse second = HttpClient::send(server.url("/"), request);
    EXPECT_EQ(std::tuple(second.status, second.body, streamed), std::tuple(500, "", "broken"));
}

TEST(HttpClient, FollowsRedirectsToTheFinalResponse) {
    const LoopbackServer server([](const Received& received) {
        if (received.path == "/end") return makeReply(200, "the end");
        const char* target = received.path == "/start" ? "/end" : received.path == "/loop" ? "/loop" : "";
        Reply reply = makeReply(302, "elsewhere");
        reply.headers = {{"Location", target}};
        return reply;
    });
    std::vector<int32_t> statuses;
    HttpRequest request;
    request.onHead = [&](const HttpResponseHead& head) {
        statuses.push_back(head.status);
        return true;
    };
    const HttpResponse response = HttpClient::send(server.url("/start"), request);
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body, "the end");
    EXPECT_EQ(statuses, std::vector<int32_t>{200});
    EXPECT_EQ(HttpClient::send(server.url("/loop"), {}).error, "request failed (47)");
    const HttpResponse aimless = HttpClient::send(server.url("/no-target"), {});
    EXPECT_EQ(aimless.status, 302);
    EXPECT_EQ(aimless.body, "elsewhere");
}

TEST(HttpClient, UnpacksTheBodyUnlessTheCallerAsksForItsEncoding) {
    const std::string packed = readTestData("z.gz");
    Reply reply = makeReply(200, packed);
    reply.headers.emplace_back("Content-Encoding", "gzip");
    const LoopbackServer server({reply, reply});
    EXPECT_EQ(HttpClient::send(server.url("/"), {}).body, std::string(100000, 'z'));
    HttpRequest own;
    own.headers = {{"Accept-Encoding", "gzip"}};
    EXPECT_EQ(HttpClient::send(server.url("/"), own).body, packed);
}

TEST(HttpClient, CountsProgressFromTheStartOfTheWholeResource) {
    // The status, the framing, where the request starts; the first and the last count of bytes, and their
    // total.
    const std::tuple<int32_t, Framing, uint64_t, uint64_t, uint64_t, uint64_t> cases[] = {
        {200, Framing::length, 0, 10, 500, 500},    {206, Framing::length, 1000, 1010, 1500, 1500},
        {200, Framing::length, 1000, 10, 500, 500}, {200, Framing::chunked, 0, 10, 500, 0},
        {200, Framing::untilClose, 0, 10, 500, 0},
    };
    for (const auto& [status, framing, rangeStart, firstDone, lastDone, total] : cases) {
        Reply reply = makeReply(status, "");
        // A pause keeps the two pieces apart.
        reply.chunks = {{std::string(10, 'a')}, {std::string(490, 'b'), 100}};
        reply.framing = framing;
        const LoopbackServer server({reply});
        std::vector<std::pair<uint64_t, uint64_t>> calls;
        HttpRequest request;
        request.rangeStart = rangeStart;
        request.onProgress = [&](uint64_t done, uint64_t all) { calls.emplace_back(done, all); };
        EXPECT_EQ(HttpClient::send(server.url("/"), request).body.size(), 500u);
        ASSERT_GE(calls.size(), 2u);
        EXPECT_EQ(calls.front(), std::pair(firstDone, total));
        EXPECT_EQ(calls.back(), std::pair(lastDone, total));
        EXPECT_EQ(server.requests().at(0).header("Range"), rangeStart == 0 ? "" : "bytes=1000-");
    }
}

TEST(HttpClient, TheCapEndsTheCollectingButNotTheReading) {
    const LoopbackServer server({makeReply(200, std::string(300000, 'x'))});
    HttpRequest request;
    request.maxBodyBytes = 100000;
    uint64_t lastDone = 0;
    request.onProgress = [&](uint64_t done, uint64_t) { lastDone = done; };
    const HttpResponse response = HttpClient::send(server.url("/"), request);
    EXPECT_EQ(response.error, "");
    EXPECT_GE(response.body.size(), 100000u);
    EXPECT_LE(response.body.size(), 100000u + 65535u);
    EXPECT_EQ(lastDone, 300000u);
}

TEST(HttpClient, LoopbackNeverGoesThroughAProxyAndOthersDo) {
    const LoopbackServer proxy([](const Received&) { return makeReply(200, "proxy"); });
    setenv("http_proxy", proxy.url().c_str(), 1);
    const LoopbackServer server({makeReply(200, "direct")});
    EXPECT_EQ(HttpClient::send(server.url("/"), {}).body, "direct");
    EXPECT_EQ(HttpClient::send("http://velu.invalid/", {}).body, "proxy");
    EXPECT_EQ(proxy.requests().size(), 1u);
}

}  // namespace
