#pragma once

#include <pulse/context.h>
#include <pulse/mainloop.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>

/// A connection to the user's sound server. Whatever happens to it, callbacks among that, happens in the
/// calls that wait, and none of the others waits.
///
/// Threads: one at a time; `wake` from any.
class PulseConnection {
public:
    using Clock = std::chrono::steady_clock;

    PulseConnection();
    ~PulseConnection();  ///< disconnects
    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;

    /// Begins to connect; `onChange`, when there is one, is told of each step with `user`. False when the
    /// connection is lost already.
    [[nodiscard]] bool connect(pa_context_notify_cb_t onChange, void* user);
    void disconnect();

    [[nodiscard]] bool isConnected() const;
    [[nodiscard]] bool isLost() const;     ///< neither connected nor on the way to it
    [[nodiscard]] uint32_t error() const;  ///< the server's number for what went wrong last

    /// Does what is to be done, and waits for more of it, for `wake`, or for the time to pass.
    void wait(std::chrono::microseconds longest);
    static constexpr std::chrono::microseconds forever{-1};

    /// Waits until `isDone`, which is asked first and whenever something has happened. False when that
    /// doesn't come true before the deadline, or while the connection lasts. What has come in counts, however
    /// late it is looked at.
    template <typename Condition>
    [[nodiscard]] bool waitUntil(Condition isDone, Clock::time_point deadline) {
        while (!isDone()) {
            if (isLost()) return false;
            const auto left = std::chrono::ceil<std::chrono::microseconds>(deadline - Clock::now());
            wait(std::max(left, std::chrono::microseconds(0)));
            if (left.count() <= 0) return isDone();
        }
        return true;
    }

    /// Ends a `wait` that runs, or the next.
    void wake();

    pa_mainloop* const loop;  ///< null when the process has no more files to open
    pa_context* context = nullptr;

private:
    std::atomic<bool> isWoken = false;
};
