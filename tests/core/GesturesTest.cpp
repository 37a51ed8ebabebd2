#include "core/Gestures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace {

constexpr int32_t most = std::numeric_limits<int32_t>::max();
constexpr int32_t least = std::numeric_limits<int32_t>::min();

TEST(Gestures, TheHeadIsAnEllipseWithItsBorderInRowsOfPixels) {
    const std::pair<Point, bool> cases[] = {{{96, 50}, true},  {{97, 50}, false},   {{4, 50}, true},
                                            {{3, 50}, false},  {{50, 98}, true},    {{50, 99}, false},
                                            {{50, 2}, true},   {{50, 1}, false},    {{82, 83}, true},
                                            {{83, 84}, false}, {{most, 50}, false}, {{50, least}, false}};
    for (const auto& [point, hit] : cases)
        EXPECT_EQ(isOnHead(point.x, point.y, 100, 100), hit) << point.x << "," << point.y;
    EXPECT_FALSE(isOnHead(0, 0, 0, 0));

    const std::pair<int32_t, int32_t> sizes[] = {{204, 240}, {203, 239}, {7, 300}, {3, 2}, {1, 1}, {0, 5}};
    for (const auto& [width, height] : sizes) {
        std::vector<Rect> expected;
        for (int32_t y = 0; y < height; ++y) {
            Rect row{width, y, 0, y + 1};
            for (int32_t x = 0; x < width; ++x) {
                if (isOnHead(x, y, width, height)) row = {std::min(row.left, x), y, x + 1, y + 1};
            }
            if (row.right > 0) expected.push_back(row);
        }
        EXPECT_EQ(headRows(width, height), expected) << width << "x" << height;
    }
}

TEST(Gestures, FivePixelsToAnySideAreADrag) {
    const std::pair<Point, bool> cases[] = {{{4, -4}, false}, {{5, 0}, true},  {{-5, 0}, true},
                                            {{0, 5}, true},   {{4, -5}, true}, {{least, 0}, true}};
    for (const auto& [offset, drag] : cases)
        EXPECT_EQ(passesDragThreshold(offset), drag) << offset.x << "," << offset.y;
}

TEST(Gestures, TheHeadLooksAtACursorThatIsNear) {
    constexpr Rect window{100, 200, 305, 440};  // its middle is 202.5, 320
    const struct {
        Point cursor;
        float x, y;
        bool watching;
    } cases[] = {{{552, 70}, 349.5F / 700, -0.5F, true},
                 {{1322, 320}, 1, 0, true},
                 {{1323, 320}, 1, 0, false},
                 {{-917, 320}, -1, 0, true},
                 {{-918, 320}, -1, 0, false},
                 {{202, 1119}, -0.5F / 700, 1, true},
                 {{202, 1120}, -0.5F / 700, 1, false},
                 {{202, -480}, -0.5F / 700, -1, false},
                 {{most, least}, 1, -1, false}};
    for (const auto& item : cases) {
        const Gaze gaze = gazeAt(item.cursor, window);
        EXPECT_NEAR(gaze.x, item.x, 1e-6) << item.cursor.x;
        EXPECT_NEAR(gaze.y, item.y, 1e-6) << item.cursor.y;
        EXPECT_EQ(gaze.watching, item.watching) << item.cursor.x << "," << item.cursor.y;
    }
}

}  // namespace
