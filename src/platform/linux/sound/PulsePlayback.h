#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

/// Plays mono samples through the user's sound server, and is connected to it only while it plays. Only
/// `wait` blocks; it also handles the server's answers. A server that is gone, or silent for too long, is
/// lost.
///
/// Threads: one at a time; `wake` from any.
class PulsePlayback {
public:
    /// Returns null when the process can open no more files.
    static std::unique_ptr<PulsePlayback> create();
    ~PulsePlayback();
    PulsePlayback(const PulsePlayback&) = delete;
    PulsePlayback& operator=(const PulsePlayback&) = delete;

    /// Starts to connect and to play, unless it has started. Positions are counted from here.
    void start(uint32_t sampleRate);
    [[nodiscard]] bool isStarted() const;

    /// Returns whether the server can't be reached, or playing is stuck. `stop` resets this.
    [[nodiscard]] bool isLost() const;

    /// Silences everything that is written and not heard yet, and disconnects.
    void stop();

    /// Returns how many samples the server wants now; 0 while connecting.
    [[nodiscard]] size_t wanted() const;

    /// Gives samples to the server, at most as many as `wanted`.
    void write(std::span<const int16_t> samples);

    /// Returns how many of the samples written since `start` have been heard; nothing while that is unknown.
    [[nodiscard]] std::optional<uint64_t> heard() const;

    /// Handles what has come from the server, and blocks until more comes, `wake` is called, or the time has
    /// passed.
    void wait(std::chrono::microseconds longest);
    static constexpr std::chrono::microseconds forever{-1};

    /// Ends the present `wait`, or else the next one.
    void wake();

private:
    struct Parts;
    explicit PulsePlayback(std::unique_ptr<Parts> parts);
    std::unique_ptr<Parts> parts;
};
