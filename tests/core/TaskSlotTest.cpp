#include "core/TaskSlot.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "foundation/Ticks.h"

namespace {

TEST(TaskSlot, TheNewestTaskWinsWithoutTheCallerWaiting) {
    std::mutex mutex;
    std::vector<std::string> events;
    const auto note = [&](const std::string& event) {
        const std::scoped_lock lock(mutex);
        events.push_back(event);
    };
    std::atomic<bool> isRunning = false;
    std::atomic<bool> mayEnd = false;
    TaskSlot slot;
    slot.start([&](CancelFlag* cancel) {
        isRunning = true;
        while (!*cancel || !mayEnd)
            std::this_thread::yield();
        note("first ends");
    });
    while (!isRunning)
        std::this_thread::yield();
    slot.start([&](CancelFlag*) { note("never begins"); });
    slot.start([&](CancelFlag* cancel) { note(*cancel ? "third is cancelled" : "third runs"); });
    slot.reap();  // must not wait for what runs
    note("caller goes on");
    mayEnd = true;
    slot.join();
    EXPECT_EQ(events, (std::vector<std::string>{"caller goes on", "first ends", "third runs"}));
}

TEST(TaskSlot, EndsItsTaskWhenItGoes) {
    std::atomic<bool> isRunning = false;
    std::atomic<bool> hasEnded = false;
    {
        TaskSlot slot;
        slot.start([&](CancelFlag* cancel) {
            isRunning = true;
            while (pauseUnlessCancelled(1000, cancel)) {
            }
            hasEnded = true;
        });
        while (!isRunning)
            std::this_thread::yield();
    }
    EXPECT_TRUE(hasEnded);
}

}  // namespace
