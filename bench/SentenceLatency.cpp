// How long after its last byte has left the server the first sentence of a reply is handed on to be spoken,
// beside a client that does nothing but wait for that byte.

#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "Figures.h"
#include "Sockets.h"
#include "assistant/Assistant.h"
#include "support/TemporaryFolder.h"

namespace {

constexpr int rounds = 200;
constexpr int warmUpRounds = 5;

/// A piece of the reply as the engine sends it: an event, in a chunk of its own.
std::string chunk(const std::string& content) {
    const std::string event =
        R"(data: {"choices":[{"finish_reason":null,"index":0,"delta":{"content":")" + content +
        R"("}}],"created":1,"id":"chatcmpl-1","model":"m","object":"chat.completion.chunk"})"
        "\n\n";
    char length[32];
    std::snprintf(length, sizeof length, "%zx\r\n", event.size());
    return length + event + "\r\n";
}

/// The engine's side, on a thread of its own: always the same reply, with a rest before the byte that shows
/// that the first sentence is over.
class ReplyServer {
public:
    ReplyServer() : listener(listenOnLoopback(port)), thread([this] { serve(); }) {}

    ~ReplyServer() {
        shutdown(listener, SHUT_RDWR);
        thread.join();
        close(listener);
    }
    ReplyServer(const ReplyServer&) = delete;
    ReplyServer& operator=(const ReplyServer&) = delete;

    int32_t port = 0;
    const std::string marker = "\"content\":\" So\"";  ///< stands in the piece that ends the first sentence
    std::atomic<int64_t> sentAt = 0;                   ///< when that piece began its way

private:
    void serve() {
        for (int connection = 0; (connection = acceptConnection(listener)) >= 0; close(connection)) {
            if (!readRequest(connection).empty()) reply(connection);
        }
    }

    void reply(int connection) {
        std::string beginning =
            "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\nTransfer-Encoding: chunked\r\n"
            "Connection: close\r\n\r\n";
        for (const char* token : {"This", " is", " the", " first", " sentence", "."})
            beginning += chunk(token);
        const std::string deciding = chunk(" So");
        const std::string ending = chunk(" it") + chunk(" goes.") + "0\r\n\r\n";
        sendAll(connection, beginning);
        // Not always the same, so that it can't fall into step with a client's own pauses.
        rest(20000 + static_cast<int>(random() % 30000));
        sentAt = nanoseconds();
        sendAll(connection, deciding);
        rest(5000);
        sendAll(connection, ending);
    }

    static void rest(int microseconds) {
        std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
    }

    std::minstd_rand random;
    int listener;
    std::thread thread;
};

/// Milliseconds until a bare client has the piece; negative when it never came.
double askBare(const ReplyServer& server) {
    const int connection = connectToLoopback(server.port);
    sendAll(connection, "POST /v1/chat/completions HTTP/1.1\r\nContent-Length: 2\r\n\r\n{}");
    double latency = -1;
    std::string received;
    char buffer[65536];
    for (ssize_t count = 0; (count = recv(connection, buffer, sizeof buffer, 0)) > 0;) {
        const int64_t now = nanoseconds();
        received.append(buffer, static_cast<size_t>(count));
        if (latency < 0 && received.find(server.marker) != std::string::npos) {
            latency = millisecondsBetween(server.sentAt, now);
        }
    }
    close(connection);
    return latency;
}

/// The same for a turn of the assistant, until its first sentence.
double askAssistant(const ReplyServer& server, Assistant& assistant) {
    const std::atomic<bool> cancel = false;
    double latency = -1;
    std::string reply;
    const auto onSentence = [&](const std::string& sentence) {
        const int64_t now = nanoseconds();
        if (latency < 0 && sentence == "This is the first sentence.") {
            latency = millisecondsBetween(server.sentAt, now);
        }
    };
    assistant.turn(
        reply, "How does it go?", onSentence, [](const std::string&) {}, &cancel);
    return latency;
}

}  // namespace

int main() {
    const TemporaryFolder folder;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there is but this thread yet
    setenv("VELU_HOME", folder.path.c_str(), 1);
    ReplyServer server;
    Brain brain;
    brain.port = server.port;
    Assistant assistant(brain);

    std::vector<double> bare;
    std::vector<double> ours;
    for (int round = -warmUpRounds; round < rounds; ++round) {
        const double bareLatency = askBare(server);
        const double ourLatency = askAssistant(server, assistant);
        if (bareLatency < 0 || ourLatency < 0) {
            std::printf("SentenceLatency: not measured, for a reply didn't arrive\n");
            return 1;
        }
        if (round < 0) continue;
        bare.push_back(bareLatency);
        ours.push_back(ourLatency);
    }
    const double bareMedian = quantile(bare, 0.5);
    const double ourMedian = quantile(ours, 0.5);
    std::printf(
        "SentenceLatency: first sentence %.3f ms after its last byte, bare client %.3f ms: %.3f ms more, "
        "%.1f times "
        "(target: at most 1 ms more)\n",
        ourMedian, bareMedian, ourMedian - bareMedian, ourMedian / bareMedian);
    std::printf(
        "  medians of %d; 95 %% of the sentences within %.3f ms, of the bare client's within %.3f ms\n",
        rounds, quantile(ours, 0.95), quantile(bare, 0.95));
    return 0;
}
