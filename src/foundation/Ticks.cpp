#include "foundation/Ticks.h"

#include <algorithm>
#include <chrono>
#include <thread>

uint64_t tickCount() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count()) + 1;
}

bool pauseUnlessCancelled(uint64_t milliseconds, CancelFlag* cancel) {
    constexpr uint64_t slice = 50;
    const uint64_t end = tickCount() + milliseconds;
    for (;;) {
        if (cancel != nullptr && *cancel) return false;
        const uint64_t now = tickCount();
        if (now >= end) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(std::min(slice, end - now)));
    }
}

std::unique_lock<std::mutex> lockUnlessCancelled(std::mutex& mutex, CancelFlag* cancel) {
    constexpr uint64_t pauseMs = 20;
    std::unique_lock<std::mutex> lock(mutex, std::try_to_lock);
    while (!lock && pauseUnlessCancelled(pauseMs, cancel))
        (void)lock.try_lock();
    return lock;
}
