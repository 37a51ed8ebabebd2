#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

/// Returns how long the action takes.
template <typename Action>
std::chrono::milliseconds durationOf(Action action) {
    const auto begin = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
}

/// Expects that a call which waits ends with `expected`, soon after another thread has interrupted it.
template <typename Interrupt, typename Wait, typename Result>
void expectCalledOff(Interrupt interrupt, Wait wait, Result expected) {
    std::atomic<std::chrono::steady_clock::time_point> at{};
    std::thread caller([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        at = std::chrono::steady_clock::now();
        interrupt();
    });
    EXPECT_EQ(wait(), expected);
    const auto end = std::chrono::steady_clock::now();
    caller.join();
    EXPECT_LT(end - at.load(), std::chrono::milliseconds(2000));
}
