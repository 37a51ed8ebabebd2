#include "core/MessageQueue.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

TEST(Messages, NothingThatManyThreadsPostIsLostAndEachThreadsOrderIsKept) {
    constexpr int threads = 4;
    constexpr int each = 500;
    MessageQueue queue;
    std::vector<std::thread> posters;
    for (int thread = 0; thread < threads; ++thread) {
        posters.emplace_back([&queue, thread] {
            for (int i = 0; i < each; ++i) {
                queue.post({MessageId::WM_APP_SENTENCE, static_cast<uint64_t>(thread), std::to_string(i)});
            }
        });
    }
    std::vector<int> next(threads, 0);
    for (int taken = 0; taken < threads * each;) {
        for (const Message& message : queue.take()) {
            EXPECT_EQ(message.text, std::to_string(next[message.parameter]++));
            ++taken;
        }
    }
    for (std::thread& poster : posters)
        poster.join();
    EXPECT_TRUE(queue.take().empty());
}

}  // namespace
