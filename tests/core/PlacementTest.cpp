#include "core/Placement.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr int32_t most = std::numeric_limits<int32_t>::max();
constexpr int32_t least = std::numeric_limits<int32_t>::min();

TEST(Placement, TheWindowHasAUsableSizeWhateverTheSettingsSay) {
    const struct {
        int32_t sizePx, dpi;
        HeadSize size;
    } cases[] = {
        {240, 96, {204, 240}},    {240, 144, {306, 360}},    {181, 96, {153, 181}},
        {1201, 96, {1020, 1200}}, {most, 192, {2040, 2400}}, {59, 96, {51, 60}},
        {least, 192, {102, 120}}, {240, 23, {51, 60}},       {240, 481, {1020, 1200}},
    };
    for (const auto& item : cases)
        EXPECT_EQ(headSize(item.sizePx, item.dpi), item.size) << item.sizePx << " at " << item.dpi;
}

TEST(Placement, TheHeadKeepsItsPlaceOrTakesTheSavedOneOrTheCorner) {
    constexpr Rect mainArea{0, 0, 1920, 1040};
    constexpr Rect rightArea{1920, 100, 3840, 1180};
    constexpr Rect tinyArea{-8000, 0, -7900, 100};
    constexpr Rect current{100, 100, 304, 340};
    constexpr Point corner{1920 - 204 - 24, 1040 - 240 - 12};
    const struct {
        HeadSize size;
        Rect current;
        bool keepPosition;
        Point saved, place;
    } cases[] = {
        {{204, 240}, {}, false, {-1, -1}, corner},
        {{204, 240}, current, false, {-1, 500}, corner},
        {{204, 240}, current, false, {500, -1}, corner},
        {{204, 240}, {}, true, {500, 400}, {500, 400}},
        {{272, 320}, current, true, {500, 400}, {202 - 136, 340 - 320}},
        // On the screen its middle is on: the left one ends 3/4 of the width before its right edge.
        {{204, 240}, {}, false, {1817, 400}, {1767, 400}},
        {{204, 240}, {}, false, {1818, 400}, {1920 - 51, 400}},
        // A screen that is gone, on all sides.
        {{204, 240}, {}, false, {500, 9000}, {500, 1040 - 210}},
        {{204, 240}, {}, false, {most, least}, {3840 - 153, 100 - 30}},
        {{204, 240}, {most - 204, least, most, most}, true, {}, {3840 - 153, 1180 - 210}},
        // On a tiny screen the left and the top limit win.
        {{204, 240}, {}, false, {-7950, 50}, {-8051, -30}},
    };
    for (const auto& item : cases) {
        HeadPlacement placement{item.size, item.current, item.keepPosition, item.saved, mainArea, {}};
        placement.workAreaNearest = [&](Point point) {
            return point.x < -4000 ? tinyArea : point.x < 1920 ? mainArea : rightArea;
        };
        const Rect place = placeHead(placement);
        EXPECT_EQ(place, (Rect{item.place.x, item.place.y, item.place.x + item.size.width,
                               item.place.y + item.size.height}))
            << place.left << "," << place.top << " for " << item.saved.x << "," << item.saved.y;
    }
}

}  // namespace
