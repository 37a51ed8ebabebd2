#include "core/Placement.h"

#include <algorithm>
#include <limits>

#include "foundation/Scaling.h"

namespace {

// What can be seen and clicked, and what drawing can bear; at 96 dots per inch.
constexpr int32_t leastSize = 60;
constexpr int32_t mostSize = 1200;
constexpr int32_t leastDpi = 24;
constexpr int32_t mostDpi = 480;

// The distance from the bottom right corner of the screen at the first start.
constexpr int32_t firstMarginX = 24;
constexpr int32_t firstMarginY = 12;

// A left or top edge for a window of this length, such that its other edge still is a number on the screen.
int32_t edge(int64_t position, int32_t length) {
    constexpr int64_t least = std::numeric_limits<int32_t>::min();
    constexpr int64_t most = std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(std::clamp(position, least, most - length));
}

Point wantedPlace(const HeadPlacement& placement) {
    const auto [width, height] = placement.size;
    const Rect& current = placement.current;
    if (placement.keepPosition && current.right > current.left) {
        // A head that grows thus grows upwards from its base.
        const int64_t middle = (static_cast<int64_t>(current.left) + current.right) / 2;
        return {edge(middle - width / 2, width), edge(static_cast<int64_t>(current.bottom) - height, height)};
    }
    if (placement.saved.x != -1 && placement.saved.y != -1) {
        return {edge(placement.saved.x, width), edge(placement.saved.y, height)};
    }
    const Rect& area = placement.primaryWorkArea;
    return {edge(static_cast<int64_t>(area.right) - width - firstMarginX, width),
            edge(static_cast<int64_t>(area.bottom) - height - firstMarginY, height)};
}

}  // namespace

HeadSize headSize(int32_t sizePx, int32_t dpi) {
    const int32_t density = std::clamp(dpi, leastDpi, mostDpi);
    const int32_t size = std::clamp(sizePx, leastSize, mostSize);
    return {mulDiv(static_cast<int32_t>(size * 0.85), density, 96), mulDiv(size, density, 96)};
}

Rect placeHead(const HeadPlacement& placement) {
    const auto [width, height] = placement.size;
    Point place = wantedPlace(placement);
    const Rect area = placement.workAreaNearest({place.x + width / 2, place.y + height / 2});

    // On a screen too small for both limits the left and the top one win.
    int64_t x = std::min<int64_t>(place.x, static_cast<int64_t>(area.right) - 3 * width / 4);
    int64_t y = std::min<int64_t>(place.y, static_cast<int64_t>(area.bottom) - 7 * height / 8);
    x = std::max(x, static_cast<int64_t>(area.left) - width / 4);
    y = std::max(y, static_cast<int64_t>(area.top) - height / 8);
    place = {edge(x, width), edge(y, height)};
    return {place.x, place.y, place.x + width, place.y + height};
}
