#include "foundation/Settings.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "foundation/Files.h"
#include "foundation/Paths.h"

using nlohmann::json;

namespace {

const char* const defaults = R"({
  "alwaysOnTop": true,
  "camOn": false,
  "locLat": 0.0,
  "locLon": 0.0,
  "locName": "",
  "micDevice": "",
  "micOn": true,
  "modelIndex": 0,
  "posX": -1,
  "posY": -1,
  "sizePx": 240,
  "startWithWindows": false,
  "userName": "",
  "voiceName": "",
  "voiceOn": true,
  "webResearch": true
})";

TEST(Settings, AnythingButAnObjectGivesTheDefaults) {
    for (const char* bytes : {"", "[]", "{", "3", "null", "\"userName\"", "{\"userName\": \"\xFF\"}"}) {
        Settings settings;
        settings.fromJson(bytes);
        EXPECT_EQ(settings.toJson(), defaults) << bytes;
    }
}

TEST(Settings, EveryKeySurvivesALoadAndASaveOfItsFile) {
    // Every value differs from its default, so that a key which is forgotten on either way shows.
    const json changed = {{"alwaysOnTop", false},
                          {"camOn", true},
                          {"locLat", 32.7767},
                          {"locLon", -96.797},
                          {"locName", "Z\xC3\xBCrich"},
                          {"micDevice", "Yeti"},
                          {"micOn", false},
                          {"modelIndex", 2},
                          {"posX", -1400},
                          {"posY", 12},
                          {"sizePx", 420},
                          {"startWithWindows", true},
                          {"userName", "Zo\xC3\xAB"},
                          {"voiceName", "Aria"},
                          {"voiceOn", false},
                          {"webResearch", false}};
    const std::string path = joinPath(dataFolder(), "settings.json");
    json extended = changed;
    extended["someOtherKey"] = 1;
    writeWholeFile(path, extended.dump());
    Settings settings;
    settings.load();
    settings.save();
    std::string saved;
    ASSERT_TRUE(readWholeFile(path, saved));
    EXPECT_EQ(saved, changed.dump(2));
}

TEST(Settings, ValuesOutOfPlaceKeepTheirDefault) {
    struct Case {
        const char* bytes;
        int32_t modelIndex;
        int32_t sizePx;
    };
    const Case cases[] = {
        {R"({"modelIndex": 2, "sizePx": 5000})", 2, 5000},
        {R"({"modelIndex": 3})", 0, 240},
        {R"({"modelIndex": -1})", 0, 240},
        {R"({"modelIndex": 4294967297})", 0, 240},
        {R"({"modelIndex": "1", "sizePx": "big"})", 0, 240},
        {R"({"modelIndex": null, "sizePx": []})", 0, 240},
        {R"({"sizePx": 1e300, "modelIndex": 1})", 1, 240},
    };
    for (const Case& item : cases) {
        Settings settings;
        settings.fromJson(item.bytes);
        EXPECT_EQ(settings.modelIndex, item.modelIndex) << item.bytes;
        EXPECT_EQ(settings.sizePx, item.sizePx) << item.bytes;
    }
    Settings settings;
    settings.fromJson(R"({"userName": 5, "micOn": "no", "locLat": true, "camOn": true})");
    EXPECT_EQ(settings.userName.get(), "");
    EXPECT_TRUE(settings.micOn);
    EXPECT_EQ(settings.locLat, 0.0);
    EXPECT_TRUE(settings.camOn) << "the other keys still count";
}

}  // namespace
