#include "Figures.h"

#include <algorithm>
#include <chrono>
#include <cmath>

int64_t nanoseconds() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

double millisecondsBetween(int64_t begin, int64_t end) {
    return static_cast<double>(end - begin) / 1e6;
}

double quantile(std::vector<double> values, double share) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    const double place = share * static_cast<double>(values.size() - 1);
    const auto below = static_cast<size_t>(std::floor(place));
    const size_t above = std::min(below + 1, values.size() - 1);
    return std::lerp(values[below], values[above], place - std::floor(place));
}

std::vector<double> medianTimes(int rounds, const std::vector<std::function<void()>>& calls) {
    std::vector<std::vector<double>> times(calls.size());
    for (int round = 0; round < rounds; ++round) {
        for (size_t i = 0; i < calls.size(); ++i) {
            const int64_t begin = nanoseconds();
            calls[i]();
            times[i].push_back(millisecondsBetween(begin, nanoseconds()));
        }
    }
    std::vector<double> medians;
    for (const std::vector<double>& each : times)
        medians.push_back(quantile(each, 0.5));
    return medians;
}
