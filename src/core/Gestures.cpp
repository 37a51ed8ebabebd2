#include "core/Gestures.h"

#include <algorithm>
#include <cmath>

bool isOnHead(int32_t x, int32_t y, int32_t width, int32_t height) {
    if (width < 1 || height < 1) return false;
    const double u = (x - 0.5 * width) / (0.46 * width);
    const double v = (y - 0.5 * height) / (0.48 * height);
    return u * u + v * v <= 1;
}

std::vector<Rect> headRows(int32_t width, int32_t height) {
    std::vector<Rect> rows;
    const int32_t middle = width / 2;
    // A row's ends are near those of the row above it, so they are sought from there.
    int32_t first = middle;
    int32_t last = middle;
    for (int32_t y = 0; y < height; ++y) {
        if (!isOnHead(middle, y, width, height)) continue;
        while (isOnHead(first - 1, y, width, height))
            --first;
        while (!isOnHead(first, y, width, height))
            ++first;
        while (isOnHead(last + 1, y, width, height))
            ++last;
        while (!isOnHead(last, y, width, height))
            --last;
        rows.push_back({first, y, last + 1, y + 1});
    }
    return rows;
}

bool passesDragThreshold(Point offset) {
    constexpr int32_t threshold = 5;
    return offset.x >= threshold || offset.x <= -threshold || offset.y >= threshold || offset.y <= -threshold;
}

Gaze gazeAt(Point cursor, Rect window) {
    constexpr double reach = 1.6;
    const double x = (cursor.x - (static_cast<double>(window.left) + window.right) * 0.5) / 700;
    const double y = (cursor.y - (static_cast<double>(window.top) + window.bottom) * 0.5) / 500;
    const bool watching = std::abs(x) < reach && std::abs(y) < reach;
    return {static_cast<float>(std::clamp(x, -1.0, 1.0)), static_cast<float>(std::clamp(y, -1.0, 1.0)),
            watching};
}
