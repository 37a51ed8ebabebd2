#include "core/MessageQueue.h"

#include <utility>

void MessageQueue::post(Message message) {
    {
        const std::lock_guard guard(mutex);
        messages.push_back(std::move(message));
    }
    posted.notify_one();
}

std::vector<Message> MessageQueue::take() {
    const std::lock_guard guard(mutex);
    return std::exchange(messages, {});
}

bool MessageQueue::waitUntil(std::chrono::steady_clock::time_point end) {
    std::unique_lock lock(mutex);
    return posted.wait_until(lock, end, [this] { return !messages.empty(); });
}
