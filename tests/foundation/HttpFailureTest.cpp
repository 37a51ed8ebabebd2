#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <thread>

#include "foundation/HttpClient.h"
#include "foundation/Ticks.h"
#include "support/EngineFolder.h"
#include "support/LoopbackServer.h"
#include "support/RawListener.h"

namespace {

using Piece = RawConnection::Piece;
using End = RawConnection::End;

const std::string head = "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n";

RawListener listenerWith(std::vector<Piece> pieces, End end) {
    return RawListener({{std::move(pieces), end}});
}

TEST(HttpFailure, IsToldByWhereTheExchangeBroke) {
    struct Case {
        const char* what;
        std::vector<Piece> pieces;
        End end;
        int32_t status;
        const char* error;
        const char* body = "";
        uint64_t rangeStart = 0;
    };
    const std::string resumed = "HTTP/1.1 206 Partial Content\r\nContent-Length: 100\r\n\r\n";
    const Case cases[] = {
        {"closed without an answer", {}, End::close, 0, "request failed (52)"},
        {"reset without an answer", {}, End::reset, 0, "request failed (56)"},
        {"silence", {}, End::keepOpen, 0, "request failed (28)"},
        {"not HTTP", {{"hello\r\n\r\n"}}, End::close, 0, "request failed (1)"},
        {"closed behind the headers", {{head}}, End::close, 200, "read failed"},
        {"silence behind the headers", {{head}}, End::keepOpen, 200, "read failed"},
        {"closed in the body", {{head + "half"}}, End::close, 200, "", "half"},
        {"silence in the body", {{head + "half"}}, End::keepOpen, 200, "", "half"},
        {"reset in the body", {{head + "half"}, {"", 200}}, End::reset, 200, "", "half"},
        {"a resume has bytes already", {{resumed}}, End::close, 206, "", "", 1000},
    };
    for (const Case& item : cases) {
        const RawListener listener = listenerWith(item.pieces, item.end);
        HttpRequest request;
        request.receiveTimeoutMs = 500;
        request.rangeStart = item.rangeStart;
        const HttpResponse response = HttpClient::send(listener.url("/"), request);
        EXPECT_EQ(std::tuple(response.status, response.error, response.body),
                  std::tuple(item.status, item.error, item.body))
            << item.what;
    }
    const HttpResponse refused = HttpClient::send("http://127.0.0.1:" + std::to_string(freePort()) + "/", {});
    EXPECT_EQ(refused.error, "request failed (7)");
}

TEST(HttpFailure, EachTimeoutHoldsForItsOwnWait) {
    // Less than the pauses together.
    Reply reply = makeReply(200, "");
    reply.chunks.assign(6, {"x", 300});
    const LoopbackServer server({reply});
    HttpRequest patient;
    patient.receiveTimeoutMs = 1500;
    EXPECT_EQ(HttpClient::send(server.url("/"), patient).body, "xxxxxx");

    // A model thinks for longer than a connection may take.
    const RawListener thinker = listenerWith({{head, 700}, {std::string(100, 'x')}}, End::close);
    HttpRequest post;
    post.method = "POST";
    post.body = std::string(100000, 'x');
    post.connectTimeoutMs = 300;
    EXPECT_EQ(HttpClient::send(thinker.url("/"), post).body, std::string(100, 'x'));

    // What a callback takes is no wait on the server.
    HttpRequest reading;
    reading.receiveTimeoutMs = 300;
    reading.onProgress = [](uint64_t, uint64_t) {
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
    };
    const RawListener listener = listenerWith({{head + "hello"}, {std::string(95, 'x'), 600}}, End::close);
    EXPECT_EQ(HttpClient::send(listener.url("/"), reading).body, "hello" + std::string(95, 'x'));
}

TEST(HttpFailure, ACallbackThatRefusesEndsTheCall) {
    const LoopbackServer server([](const Received&) { return makeReply(200, std::string(200000, 'x')); });
    size_t seen = 0;
    HttpRequest byData;
    byData.onData = [&](const char*, size_t count) {
        seen += count;
        return false;
    };
    EXPECT_EQ(HttpClient::send(server.url("/"), byData).error, "aborted");
    EXPECT_GT(seen, 0u);
    EXPECT_LT(seen, 200000u);

    HttpRequest byHead;
    byHead.onHead = [](const HttpResponseHead&) { return false; };
    EXPECT_EQ(HttpClient::send(server.url("/"), byHead).error, "aborted");

    HttpRequest byThrow;
    byThrow.onData = [](const char*, size_t) -> bool { throw std::runtime_error("no more"); };
    EXPECT_THROW(HttpClient::send(server.url("/"), byThrow), std::runtime_error);
}

TEST(HttpFailure, AFlagThatWasSetBeforeIsSeenBehindTheHeaders) {
    const LoopbackServer server({makeReply(200, "body"), makeReply(204, "")});
    const std::atomic<bool> cancel = true;
    HttpRequest request;
    request.cancel = &cancel;
    for (const int32_t status : {200, 204}) {
        const HttpResponse response = HttpClient::send(server.url("/"), request);
        EXPECT_EQ(std::tuple(response.status, response.error, response.body),
                  std::tuple(status, "cancelled", ""));
    }
    EXPECT_EQ(server.requests().size(), 2u);
}

TEST(HttpFailure, ACancelEndsEveryWaitWithin100Ms) {
    const RawListener silent;  // connected, but never an answer
    const RawListener stalled = listenerWith({{head + "half"}}, End::keepOpen);
    for (const auto& [url, status] : {std::pair{silent.url("/"), 0}, {stalled.url("/"), 200}}) {
        // The best of three, for a machine that is busy with something else.
        uint64_t best = UINT64_MAX;
        for (int i = 0; i < 3; ++i) {
            std::atomic<bool> cancel = false;
            HttpRequest request;
            request.cancel = &cancel;
            uint64_t setAt = 0;
            std::thread canceller([&] {
                std::this_thread::sleep_for(std::chrono::milliseconds(300));
                setAt = tickCount();
                cancel = true;
            });
            const HttpResponse response = HttpClient::send(url, request);
            const uint64_t endedAt = tickCount();
            canceller.join();
            EXPECT_EQ(std::tuple(response.error, response.status), std::tuple("cancelled", status)) << url;
            best = std::min(best, endedAt - setAt);
        }
        EXPECT_LE(best, 100u) << url;
    }
}

}  // namespace
