#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

/// Plays mono samples through the user's sound server, which it is connected to while it plays. It waits only
/// in `wait`, where it also notices what the server says; a server that is gone, or says nothing for too
/// long, is lost.
///
/// Threads: one at a time; `wake` from any.
class PulsePlayback {
public:
    /// Null when the process has no more files to open.
    static std::unique_ptr<PulsePlayback> create();
    ~PulsePlayback();
    PulsePlayback(const PulsePlayback&) = delete;
    PulsePlayback& operator=(const PulsePlayback&) = delete;

    /// Begins to connect and to play, unless that is done. Positions count from here.
    void start(uint32_t sampleRate);
    [[nodiscard]] bool isStarted() const;

    /// The server can't be had, or what was played or was to be played is stuck. `stop` is the way on.
    [[nodiscard]] bool isLost() const;

    /// Silences what was written and isn't heard yet, and leaves the server.
    void stop();

    /// How many samples the server wants now; 0 while it is still connecting.
    [[nodiscard]] size_t wanted() const;

    /// Not more than are wanted.
    void write(std::span<const int16_t> samples);

    /// How many of the samples written since `start` have been heard; nothing while that isn't known.
    [[nodiscard]] std::optional<uint64_t> heard() const;

    /// Does what is to be done with the server, and waits for more of it, for `wake`, or for the time to
    /// pass.
    void wait(std::chrono::microseconds longest);
    static constexpr std::chrono::microseconds forever{-1};

    /// Ends a `wait` that runs, or the next.
    void wake();

private:
    struct Parts;
    explicit PulsePlayback(std::unique_ptr<Parts> parts);
    std::unique_ptr<Parts> parts;
};
