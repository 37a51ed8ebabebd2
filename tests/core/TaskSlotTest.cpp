#include "core/TaskSlot.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "foundation/Ticks.h"
#include "support/TestData.h"

namespace {

void waitFor(const std::atomic<bool>& flag) {
    while (!flag)
        std::this_thread::yield();
}

TEST(TaskSlot, TheNewestTaskWinsWithoutTheCallerWaiting) {
    std::mutex mutex;
    std::vector<std::string> events;
    const auto note = [&](const std::string& event) {
        const std::scoped_lock lock(mutex);
        events.push_back(event);
    };
    std::atomic<bool> isRunning = false;
    std::atomic<bool> mayEnd = false;
    TaskSlot slot("task");
    const auto onFailure = [&] { note("a failure"); };
    slot.start(
        [&](CancelFlag* cancel) {
            isRunning = true;
            while (!*cancel || !mayEnd)
                std::this_thread::yield();
            note("first ends");
        },
        onFailure);
    waitFor(isRunning);
    slot.start([&](CancelFlag*) { note("never begins"); }, onFailure);
    slot.start([&](CancelFlag* cancel) { note(*cancel ? "third is cancelled" : "third runs"); }, onFailure);
    slot.reap();  // must not wait for a running task
    note("caller goes on");
    mayEnd = true;
    slot.join();
    EXPECT_EQ(events, (std::vector<std::string>{"caller goes on", "first ends", "third runs"}));
}

TEST(TaskSlot, ATaskThatThrowsOrGetsNoThreadIsLoggedAndTold) {
    std::atomic<int> failures = 0;
    const auto onFailure = [&] { ++failures; };
    std::atomic<bool> isRunning = false;
    std::atomic<bool> hasEnded = false;
    auto owner = std::make_unique<TaskSlot>("brain worker");
    TaskSlot& slot = *owner;
    slot.start([](CancelFlag*) { throw std::runtime_error("nobody expected this"); }, onFailure);
    slot.join();
    EXPECT_EQ(failures, 1);
    slot.start(
        [&](CancelFlag* cancel) {
            isRunning = true;
            while (pauseUnlessCancelled(1000, cancel)) {
            }
            hasEnded = true;
        },
        onFailure);
    waitFor(isRunning);
    // No thread gets a stack of this size.
    pthread_attr_t huge;
    ASSERT_EQ(pthread_attr_init(&huge), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&huge, size_t{1} << 47U), 0);
    pthread_attr_t usual;
    ASSERT_EQ(pthread_getattr_default_np(&usual), 0);
    ASSERT_EQ(pthread_setattr_default_np(&huge), 0);
    slot.start([](CancelFlag*) { FAIL() << "there is no thread"; }, onFailure);
    EXPECT_EQ(failures, 2);
    ASSERT_EQ(pthread_setattr_default_np(&usual), 0);
    owner.reset();
    EXPECT_TRUE(hasEnded) << "the task before";
    const std::string log = dataText("velu.log");
    EXPECT_NE(log.find("brain worker ended by an unexpected error: nobody expected this\n"),
              std::string::npos);
    EXPECT_NE(log.find("brain worker ended by an unexpected error: Resource temporarily unavailable\n"),
              std::string::npos)
        << log;
}

}  // namespace
