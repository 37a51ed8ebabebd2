#include "foundation/Settings.h"

#include <gtest/gtest.h>

#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "support/TestData.h"

namespace {

TEST(Settings, AnythingButAnObjectGivesTheDefaults) {
    for (const char* bytes : {"", "[]", "{", "3", "null", "\"userName\"", "{\"userName\": \"\xFF\"}"}) {
        Settings settings;
        settings.fromJson(bytes);
        EXPECT_EQ(settings.toJson() + "\n", readTestData("settings-default.json")) << bytes;
    }
}

TEST(Settings, EveryKeySurvivesALoadAndASaveOfItsFile) {
    // Every value differs from its default, so that a key which is forgotten on either way shows.
    const std::string changed = readTestData("settings-changed.json");
    const std::string path = joinPath(dataFolder(), "settings.json");
    writeWholeFile(path, "{\"someOtherKey\": 1, " + changed.substr(1));
    Settings settings;
    settings.load();
    settings.save();
    std::string saved;
    ASSERT_TRUE(readWholeFile(path, saved));
    EXPECT_EQ(saved + "\n", changed);
}

TEST(Settings, ValuesOutOfPlaceKeepTheirDefault) {
    const std::tuple<const char*, int32_t, int32_t> cases[] = {
        {R"({"modelIndex": 2, "sizePx": 5000})", 2, 5000},
        {R"({"modelIndex": 3})", 0, 240},
        {R"({"modelIndex": -1})", 0, 240},
        {R"({"modelIndex": 4294967297})", 0, 240},
        {R"({"modelIndex": "1", "sizePx": "big"})", 0, 240},
        {R"({"modelIndex": null, "sizePx": []})", 0, 240},
        {R"({"modelIndex": 1, "sizePx": 2147483648})", 1, 240},
        {R"({"modelIndex": 1, "sizePx": -2147483648})", 1, INT32_MIN},
        {R"({"modelIndex": 1.9, "sizePx": 1e300})", 1, 240},
    };
    for (const auto& [bytes, modelIndex, sizePx] : cases) {
        Settings settings;
        settings.fromJson(bytes);
        EXPECT_EQ(settings.modelIndex, modelIndex) << bytes;
        EXPECT_EQ(settings.sizePx, sizePx) << bytes;
    }
    Settings settings;
    settings.fromJson(R"({"userName": 5, "micOn": "no", "locLat": true, "camOn": true})");
    EXPECT_EQ(settings.userName.get(), "");
    EXPECT_TRUE(settings.micOn);
    EXPECT_EQ(settings.locLat, 0.0);
    EXPECT_TRUE(settings.camOn) << "the other keys still count";
}

}  // namespace
