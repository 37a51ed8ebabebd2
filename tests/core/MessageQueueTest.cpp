#include "core/MessageQueue.h"

#include <gtest/gtest.h>

#include <thread>

TEST(Messages, NothingThatManyThreadsPostIsLostAndEachThreadsOrderIsKept) {
    constexpr uint64_t each = 500;
    MessageQueue queue;
    std::vector<std::jthread> posters;
    for (uint64_t thread = 0; thread < 4; ++thread) {
        posters.emplace_back([&queue, thread] {
            for (uint64_t i = 0; i < each; ++i)
                queue.post(Sentence{thread, "", i});
        });
    }
    uint64_t next[4] = {};
    for (uint64_t taken = 0; taken < 4 * each;) {
        for (const Message& message : queue.take()) {
            const auto& sentence = std::get<Sentence>(message);
            EXPECT_EQ(sentence.firstTokenTick, next[sentence.turn]++);
            ++taken;
        }
    }
    EXPECT_TRUE(queue.take().empty());
}
