#include "core/TaskSlot.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>

#include "support/Soon.h"
#include "support/TestData.h"

namespace {

TEST(TaskSlot, TheNewestTaskWinsWithoutTheCallerWaiting) {
    std::atomic<bool> isRunning = false;
    std::atomic<bool> mayEnd = false;
    std::string events;  // only one task runs at a time
    TaskSlot slot("task");
    const auto onFailure = [&] { events += "failure "; };
    slot.start(
        [&](CancelFlag* cancel) {
            isRunning = true;
            while (!*cancel || !mayEnd)
                std::this_thread::yield();
            events += "first ends, ";
        },
        onFailure);
    ASSERT_TRUE(soon([&] { return isRunning.load(); }));
    slot.start([&](CancelFlag*) { events += "second runs, "; }, onFailure);
    slot.start([&](CancelFlag* cancel) { events += *cancel ? "third is cancelled" : "third runs"; },
               onFailure);
    slot.reap();  // must not wait for a running task
    mayEnd = true;
    slot.join();
    EXPECT_EQ(events, "first ends, third runs");
}

TEST(TaskSlot, ATaskThatThrowsOrGetsNoThreadIsLoggedAndTold) {
    std::atomic<int> failures = 0;
    const auto onFailure = [&] { ++failures; };
    std::atomic<bool> isRunning = false;
    std::atomic<bool> hasEnded = false;
    {
        TaskSlot slot("brain worker");
        slot.start([](CancelFlag*) { throw std::runtime_error("nobody expected this"); }, onFailure);
        slot.join();
        EXPECT_EQ(failures, 1);
        slot.start(
            [&](CancelFlag* cancel) {
                isRunning = true;
                while (!*cancel)
                    std::this_thread::yield();
                hasEnded = true;
            },
            onFailure);
        ASSERT_TRUE(soon([&] { return isRunning.load(); }));
        // No thread gets a stack of this size.
        pthread_attr_t usual, huge;
        ASSERT_EQ(pthread_getattr_default_np(&usual), 0);
        ASSERT_EQ(pthread_attr_init(&huge), 0);
        ASSERT_EQ(pthread_attr_setstacksize(&huge, size_t{1} << 47U), 0);
        ASSERT_EQ(pthread_setattr_default_np(&huge), 0);
        slot.start([](CancelFlag*) { FAIL() << "there is no thread"; }, onFailure);
        EXPECT_EQ(failures, 2);
        ASSERT_EQ(pthread_setattr_default_np(&usual), 0);
    }
    EXPECT_TRUE(hasEnded) << "the slot ends its task when it goes";
    const std::string log = dataText("velu.log");
    for (const char* reason : {"nobody expected this\n", "Resource temporarily unavailable\n"})
        EXPECT_NE(log.find(std::string("brain worker ended by an unexpected error: ") + reason), log.npos);
}

}  // namespace
