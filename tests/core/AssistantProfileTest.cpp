#include "core/AssistantProfile.h"

#include <gtest/gtest.h>

#include "foundation/Files.h"
#include "foundation/Paths.h"

namespace {

TEST(AssistantProfile, ReadsTheSettingsAndSavesOnlyAPlaceThatIsToLast) {
    Settings settings;
    const UserProfile user = assistantProfile(settings);
    settings.userName.set("Ada");
    settings.webResearch = false;
    EXPECT_EQ(user.choices().userName, "Ada");
    EXPECT_FALSE(user.choices().webResearch);
    EXPECT_EQ(user.choices().place.name, "");
    const std::string file = joinPath(dataFolder(), "settings.json");
    for (const auto& [name, lifetime] :
         {std::pair{"Oslo", PlaceLifetime::thisRun}, {"Bergen", PlaceLifetime::saved}}) {
        user.keepPlace({name, 60.39, 5.32}, lifetime);
        const Place kept = user.choices().place;
        EXPECT_EQ(kept.name, name);
        EXPECT_EQ(kept.latitude, 60.39);
        EXPECT_EQ(kept.longitude, 5.32);
        std::string saved;
        EXPECT_EQ(readWholeFile(file, saved), lifetime == PlaceLifetime::saved);
        EXPECT_EQ(saved.find("\"Bergen\"") != std::string::npos, lifetime == PlaceLifetime::saved);
    }
}

}  // namespace
