#include "core/Placement.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr int32_t most = std::numeric_limits<int32_t>::max();
constexpr int32_t least = std::numeric_limits<int32_t>::min();
constexpr Rect mainArea{0, 0, 1920, 1040};
constexpr Rect rightArea{1920, 100, 3840, 1180};

TEST(Placement, TheWindowHasAUsableSizeWhateverTheSettingsSay) {
    struct Case {
        int32_t sizePx, dpi;
        HeadSize size;
    };
    const Case cases[] = {
        {240, 96, {204, 240}},     {240, 144, {306, 360}},   {181, 96, {153, 181}},
        {180, 120, {191, 225}},    {5000, 96, {1020, 1200}}, {most, 96, {1020, 1200}},
        {most, 192, {2040, 2400}}, {0, 96, {51, 60}},        {-5, 96, {51, 60}},
        {least, 192, {102, 120}},  {240, 0, {51, 60}},       {most, most, {5100, 6000}},
    };
    for (const Case& item : cases)
        EXPECT_EQ(headSize(item.sizePx, item.dpi), item.size) << item.sizePx << " at " << item.dpi;
}

TEST(Placement, TheHeadKeepsItsPlaceOrTakesTheSavedOneOrTheCorner) {
    constexpr Rect current{100, 100, 304, 340};
    constexpr Point corner{1920 - 204 - 24, 1040 - 240 - 12};
    struct Case {
        HeadSize size;
        Rect current;
        bool keepPosition;
        Point saved, place;
    };
    const Case cases[] = {
        {{204, 240}, {}, false, {-1, -1}, corner},
        {{204, 240}, current, false, {-1, 500}, corner},
        {{204, 240}, current, false, {500, -1}, corner},
        {{204, 240}, current, false, {500, 400}, {500, 400}},
        {{204, 240}, {}, true, {500, 400}, {500, 400}},
        {{272, 320}, current, true, {500, 400}, {202 - 136, 340 - 320}},
        {{153, 180}, current, true, {500, 400}, {202 - 76, 340 - 180}},
        // On the screen its middle is on: the left one ends 3/4 of the width before its right edge.
        {{204, 240}, {}, false, {1817, 400}, {1767, 400}},
        {{204, 240}, {}, false, {1818, 400}, {1920 - 51, 400}},
        // A screen that is gone, on all sides.
        {{204, 240}, {}, false, {9000, 400}, {3840 - 153, 400}},
        {{204, 240}, {}, false, {-9000, -9000}, {-51, -30}},
        {{204, 240}, {}, false, {500, 9000}, {500, 1040 - 210}},
        {{204, 240}, {}, false, {most, least}, {3840 - 153, 100 - 30}},
        {{204, 240}, {most - 204, least, most, most}, true, {}, {3840 - 153, 1180 - 210}},
    };
    for (const Case& item : cases) {
        HeadPlacement placement{item.size, item.current, item.keepPosition, item.saved, mainArea, {}};
        placement.workAreaNearest = [](Point point) { return point.x < 1920 ? mainArea : rightArea; };
        const Rect expected{item.place.x, item.place.y, item.place.x + item.size.width,
                            item.place.y + item.size.height};
        const Rect place = placeHead(placement);
        EXPECT_EQ(place, expected) << place.left << "," << place.top << " for " << item.saved.x << ","
                                   << item.saved.y;
    }
}

TEST(Placement, OnATinyScreenTheLeftAndTopLimitsWin) {
    HeadPlacement placement{{204, 240}, {}, false, {50, 50}, mainArea, {}};
    placement.workAreaNearest = [](Point) { return Rect{0, 0, 100, 100}; };
    EXPECT_EQ(placeHead(placement), (Rect{-51, -30, 153, 210}));
}

}  // namespace
