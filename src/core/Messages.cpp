#include "core/Messages.h"

#include <utility>

void MessageQueue::post(Message message) {
    const std::lock_guard guard(mutex);
    messages.push_back(std::move(message));
}

std::vector<Message> MessageQueue::take() {
    const std::lock_guard guard(mutex);
    return std::exchange(messages, {});
}
