#pragma once

#include <chrono>
#include <optional>

/// Spaces the frames at half the display's refresh rate and at most 60 a second, whether or not showing a
/// frame waits for the display. Frames begin on a grid, so that waking late now and then doesn't slow the
/// average. It reads no clock and doesn't wait: both are the caller's part.
///
/// Threads: one at a time.
class FramePacer {
public:
    using Clock = std::chrono::steady_clock;

    /// The time from one frame's begin to the next.
    std::chrono::nanoseconds interval{33'333'333};

    /// Sets the display's rate. A rate that no display has, such as 0 or NaN for unknown, counts as 60.
    void setRefreshRate(double hertz);

    /// Returns how long to wait after a frame that was shown at `now`: at most two intervals. Returns 0 when
    /// the display itself kept the pace, and after a stall, because lost frames aren't made up for. The first
    /// frame sets the grid and has no wait after it, so that the display can set the pace.
    std::chrono::nanoseconds waitAfterFrame(Clock::time_point now);

private:
    std::optional<Clock::time_point> frameStart;  ///< the end of the wait before this frame
};
