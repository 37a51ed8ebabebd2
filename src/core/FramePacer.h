#pragma once

#include <chrono>
#include <optional>

/// Spaces the frames at half the display's refresh rate and at most 60 a second, whether or not showing a
/// frame waits for the display. Frames begin on a grid, so that waking late now and then doesn't slow the
/// average. It reads no clock: the caller tells the time, and waits.
///
/// Threads: one at a time.
class FramePacer {
public:
    using Clock = std::chrono::steady_clock;

    /// The time from one frame's begin to the next.
    std::chrono::nanoseconds interval{33'333'333};

    /// Takes over the display's rate. One that no display has, such as 0 or NaN for unknown, counts as 60.
    void setRefreshRate(double hertz);

    /// How long to wait before the next frame, after one has been shown at `now`: at most two intervals.
    /// Nothing when the display itself has kept the pace, and after a stall: lost frames are not made up for.
    /// The first frame sets the grid and isn't followed by a wait, so that a display can take the pace.
    std::chrono::nanoseconds waitAfterFrame(Clock::time_point now);

private:
    std::optional<Clock::time_point> frameStart;  ///< the end of the wait before this frame, as it was told
};
