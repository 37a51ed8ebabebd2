// Measures the time from the last byte of a reply's first sentence to the sentence's callback, compared with
// a bare client that only waits for that byte.

#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <string>
#include <vector>

#include "Benchmark.h"
#include "Figures.h"
#include "ReplyServer.h"
#include "Sockets.h"
#include "assistant/Assistant.h"
#include "support/TemporaryFolder.h"

namespace {

constexpr int rounds = 200;
constexpr int warmUpRounds = 5;

/// Returns the milliseconds until a bare client has the marker; negative if it never arrives.
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

/// Returns the same for a turn of the assistant, until its first sentence.
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
    setVariable("VELU_HOME", folder.path);
    ReplyServer server({"This", " is", " the", " first", " sentence", "."}, {" it", " goes."}, 5);
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
        "%.1f times (target: at most 1 ms more)\n",
        ourMedian, bareMedian, ourMedian - bareMedian, ourMedian / bareMedian);
    std::printf(
        "  medians of %d; 95 %% of the sentences within %.3f ms, of the bare client's within %.3f ms\n",
        rounds, quantile(ours, 0.95), quantile(bare, 0.95));
    return 0;
}
