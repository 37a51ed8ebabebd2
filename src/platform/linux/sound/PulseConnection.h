#pragma once

#include <pulse/context.h>
#include <pulse/mainloop.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>

/// A connection to the user's sound server. Callbacks run within the calls that wait; no other call blocks.
///
/// Threads: one at a time; `wake` from any.
class PulseConnection {
public:
    using Clock = std::chrono::steady_clock;

    PulseConnection();
    ~PulseConnection();  ///< disconnects
    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;

    /// Starts to connect; `onChange` (may be null) is called with `user` at each step. Returns false when the
    /// connection is lost already.
    [[nodiscard]] bool connect(pa_context_notify_cb_t onChange, void* user);
    void disconnect();

    [[nodiscard]] bool isConnected() const;
    [[nodiscard]] bool isLost() const;     ///< neither connected nor connecting
    [[nodiscard]] uint32_t error() const;  ///< the server's number for the last failure

    /// Handles what has come in, and blocks until more comes, `wake` is called, or the time has passed.
    void wait(std::chrono::microseconds longest);
    static constexpr std::chrono::microseconds forever{-1};

    /// Blocks until `isDone`, which is checked first and whenever something has happened. Returns false when
    /// it isn't done by the deadline, or the connection is lost. Whatever came in before the deadline counts,
    /// however late it is handled.
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

    /// Ends the present `wait`, or else the next one.
    void wake();

    pa_mainloop* const loop;  ///< null when the process has no more files to open
    pa_context* context = nullptr;

private:
    std::atomic<bool> isWoken = false;
};
