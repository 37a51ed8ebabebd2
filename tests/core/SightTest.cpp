#include "core/Sight.h"

#include <gtest/gtest.h>

namespace {

TEST(Sight, TellsWhoIsThereAndLooksAtThem) {
    EXPECT_EQ(seenText({}), "");
    EXPECT_EQ(seenText({true, 0, 0, "", 5}), "an unrecognized person");
    EXPECT_EQ(seenText({true, 0, 0, "Ann", 5}), "Ann");

    const struct {
        Sighting sighting;
        uint64_t now;
        bool isLookedAt;
        float x, y;
    } cases[] = {
        {{}, 1000, false, 0, 0},
        {{true, 0.5F, 0.25F, "Ann", 1000}, 2499, true, -0.8F, 0.4F},
        {{true, 0.5F, 0.25F, "Ann", 1000}, 2500, false, 0, 0},
        {{true, -0.9F, -0.9F, "", 1000}, 1000, true, 1, -1},
    };
    for (const auto& example : cases) {
        const std::optional<Gaze> gaze = gazeAtFace(example.sighting, example.now);
        ASSERT_EQ(gaze.has_value(), example.isLookedAt) << example.now;
        if (!gaze) continue;
        EXPECT_FLOAT_EQ(gaze->x, example.x);
        EXPECT_FLOAT_EQ(gaze->y, example.y);
        EXPECT_TRUE(gaze->watching);
    }
}

}  // namespace
