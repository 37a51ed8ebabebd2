#pragma once

#include <chrono>
#include <thread>

/// Whether something comes true before a test loses patience, asked every few milliseconds. The patience is
/// for a machine that is busy with other things: a test that holds never uses it up.
template <typename Condition>
bool soon(Condition condition, std::chrono::seconds patience = std::chrono::seconds(40)) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}
