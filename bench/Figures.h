#pragma once

#include <cstdint>
#include <vector>

/// Nanoseconds of the system's monotonic clock, which all processes share.
int64_t nanoseconds();

/// What lies between two readings of that clock, in milliseconds.
double millisecondsBetween(int64_t begin, int64_t end);

/// The value below which this share (0 to 1) of the values lies; 0.5 is the median. Of none it is 0.
double quantile(std::vector<double> values, double share);
