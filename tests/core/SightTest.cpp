#include "core/Sight.h"

#include <gtest/gtest.h>

TEST(Sight, TellsWhoIsThereAndLooksAtThem) {
    EXPECT_EQ(seenText({}), "");
    EXPECT_EQ(seenText({true, 0, 0, "", 5}), "an unrecognized person");
    EXPECT_EQ(seenText({true, 0, 0, "Ann", 5}), "Ann");

    const auto gaze = [](const Sighting& sighting, uint64_t now) {
        const std::optional<Gaze> found = gazeAtFace(sighting, now);
        return found && found->watching ? std::pair{found->x, found->y} : std::pair{9.0F, 9.0F};
    };
    const Sighting ann{true, 0.5F, 0.25F, "Ann", 1000};
    EXPECT_EQ(gaze({}, 1000), (std::pair{9.0F, 9.0F}));
    EXPECT_EQ(gaze(ann, 2499), (std::pair{-0.8F, 0.4F}));
    EXPECT_EQ(gaze(ann, 2500), (std::pair{9.0F, 9.0F}));
    EXPECT_EQ(gaze({true, -0.9F, -0.9F, "", 1000}, 1000), (std::pair{1.0F, -1.0F}));
}
