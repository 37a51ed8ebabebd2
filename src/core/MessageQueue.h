#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

#include "core/Message.h"

/// The messages that were posted to the window thread and not yet handled, in order.
///
/// Threads: any thread posts; one thread takes and waits.
class MessageQueue {
public:
    void post(Message message);

    /// Returns everything that was posted since the last call.
    [[nodiscard]] std::vector<Message> take();

    /// Blocks until there is something to take or `end` has come. Returns false in the latter case.
    [[nodiscard]] bool waitUntil(std::chrono::steady_clock::time_point end);

private:
    std::mutex mutex;
    std::condition_variable posted;
    std::vector<Message> messages;  ///< guarded by `mutex`
};
