#pragma once

#include <cstdint>
#include <functional>
#include <vector>

/// Returns the monotonic clock in nanoseconds. All processes share this clock.
int64_t nanoseconds();

/// Returns the milliseconds between two readings of that clock.
double millisecondsBetween(int64_t begin, int64_t end);

/// Returns the value below which a share (0 to 1) of the values lies; 0.5 gives the median. Returns 0 if
/// there are no values.
double quantile(std::vector<double> values, double share);

/// Returns the median time of each call over some rounds, in milliseconds. The calls take turns, so that a
/// disturbance affects all of them.
std::vector<double> medianTimes(int rounds, const std::vector<std::function<void()>>& calls);
