#include "core/FramePacer.h"

#include <algorithm>
#include <cmath>

using std::chrono::nanoseconds;

namespace {

// A sixtieth of a second, rounded up.
constexpr nanoseconds shortestInterval{16'666'667};

}  // namespace

void FramePacer::setRefreshRate(double hertz) {
    const bool known = hertz >= 20 && hertz <= 1000;  // false for NaN
    interval = std::max(nanoseconds(std::llround(2e9 / (known ? hertz : 60))), shortestInterval);
}

nanoseconds FramePacer::waitAfterFrame(Clock::time_point now) {
    // A display is seldom quite as fast as it says, so a frame that took about an interval was paced by it.
    // Waiting for the grid would then sooner or later miss the moment at which the display takes a frame.
    const nanoseconds paced = std::max(interval * 9 / 10, shortestInterval);
    if (!frameStart || now - *frameStart >= paced) {
        frameStart = now;
        return nanoseconds(0);
    }
    // A caller that doesn't wait must not find the grid far ahead when it does.
    frameStart = std::min(*frameStart, now + interval) + interval;
    return *frameStart - now;
}
