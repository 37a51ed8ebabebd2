#pragma once

#include <atomic>
#include <cstdint>
#include <random>
#include <string>
#include <thread>
#include <vector>

/// The engine's side on a thread of its own: streams the same reply to everyone, with a rest before the piece
/// that shows that the first sentence is over.
class ReplyServer {
public:
    /// `firstSentence` without the deciding piece, " So"; what comes behind it, one piece every `pauseMs`.
    ReplyServer(std::vector<std::string> firstSentence, std::vector<std::string> rest, int32_t pauseMs);
    ~ReplyServer();
    ReplyServer(const ReplyServer&) = delete;
    ReplyServer& operator=(const ReplyServer&) = delete;

    int32_t port = 0;
    const std::string marker = "\"content\":\" So\"";  ///< stands in the piece that ends the first sentence
    std::atomic<int64_t> askedAt = 0;  ///< when the latest request was complete, of `nanoseconds`
    std::atomic<int64_t> sentAt = 0;   ///< when the deciding piece began its way

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
