#pragma once

#include <functional>
#include <utility>

// Where exceptions end: on threads of our own, and in callbacks of libraries that know no exceptions.
// Threads: any.

/// Runs `work`. If it throws, logs "NAME ended by an unexpected error" and returns false.
bool guarded(const char* name, const std::function<void()>& work);

/// Returns a callback that runs `work` with its own arguments as `guarded` does. `name` must outlive it.
template <typename Work>
auto guardedCallback(const char* name, Work work) {
    return [name, work = std::move(work)](const auto&... arguments) {
        guarded(name, [&] { work(arguments...); });
    };
}
