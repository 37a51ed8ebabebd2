#include "core/MessageQueue.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

TEST(Messages, NothingThatManyThreadsPostIsLostAndEachThreadsOrderIsKept) {
    constexpr size_t threads = 4;
    constexpr uint64_t each = 500;
    MessageQueue queue;
    std::vector<std::thread> posters;
    for (size_t thread = 0; thread < threads; ++thread) {
        posters.emplace_back([&queue, thread] {
            for (uint64_t i = 0; i < each; ++i)
                queue.post(Sentence{thread, "", i});
        });
    }
    std::vector<uint64_t> next(threads, 0);
    for (uint64_t taken = 0; taken < threads * each;) {
        for (const Message& message : queue.take()) {
            const auto& sentence = std::get<Sentence>(message);
            EXPECT_EQ(sentence.firstTokenTick, next[sentence.turn]++);
            ++taken;
        }
    }
    for (std::thread& poster : posters)
        poster.join();
    EXPECT_TRUE(queue.take().empty());
}

}  // namespace
