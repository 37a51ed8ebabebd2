#pragma once

#include <mutex>
#include <string>
#include <utility>

/// A text that several threads read and replace whole.
/// Threads: any.
class SharedText {
public:
    [[nodiscard]] std::string get() const {
        const std::scoped_lock lock(mutex);
        return text;
    }

    void set(std::string value) {
        const std::scoped_lock lock(mutex);
        text = std::move(value);
    }

private:
    mutable std::mutex mutex;
    std::string text;  ///< guarded by `mutex`
};
