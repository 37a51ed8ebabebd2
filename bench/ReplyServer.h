#pragma once

#include <atomic>
#include <cstdint>
#include <random>
#include <string>
#include <thread>
#include <vector>

/// An engine that streams the same reply to every request, with a pause before the piece that completes the
/// first sentence.
///
/// Threads: serves on a thread of its own.
class ReplyServer {
public:
    /// Starts to serve. The reply is `firstSentence`, the completing piece " So", and then `rest`, one piece
    /// every `pauseMs` milliseconds.
    ReplyServer(std::vector<std::string> firstSentence, std::vector<std::string> rest, int32_t pauseMs);
    ~ReplyServer();
    ReplyServer(const ReplyServer&) = delete;
    ReplyServer& operator=(const ReplyServer&) = delete;

    int32_t port = 0;
    const std::string marker = "\"content\":\" So\"";  ///< part of the completing piece
    std::atomic<int64_t> askedAt = 0;  ///< when the latest request was complete, by `nanoseconds`
    std::atomic<int64_t> sentAt = 0;   ///< when the completing piece was sent

private:
    void serve();
    void reply(int connection);

    const std::vector<std::string> beginning;
    const std::vector<std::string> ending;
    const int32_t pauseMs;
    std::minstd_rand random;
    int listener;
    std::thread thread;
};
