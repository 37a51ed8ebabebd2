#pragma once

#include <chrono>
#include <thread>

inline void restBriefly() {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

/// Returns whether `condition` comes true before the test loses patience; `step` runs between two looks at
/// it. The patience is for a busy machine: a test that holds never uses it up.
template <typename Condition, typename Step = void (*)()>
bool soon(Condition condition, std::chrono::milliseconds patience = std::chrono::seconds(40),
          Step step = restBriefly) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        step();
    }
    return true;
}
