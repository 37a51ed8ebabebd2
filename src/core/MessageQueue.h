#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

#include "core/Message.h"

/// What was posted to the window thread and not yet handled, in order. Threads: any posts, one takes.
class MessageQueue {
public:
    void post(Message message);

    /// Everything that was posted since the last call.
    [[nodiscard]] std::vector<Message> take();

    /// Waits until there is something to take, or the time has come. False for the latter.
    [[nodiscard]] bool waitUntil(std::chrono::steady_clock::time_point end);

private:
    std::mutex mutex;
    std::condition_variable posted;
    std::vector<Message> messages;  ///< guarded by `mutex`
};
