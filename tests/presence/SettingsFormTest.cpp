#include "presence/SettingsForm.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "foundation/Files.h"
#include "foundation/Paths.h"

namespace {

constexpr Rect screen{0, 0, 1920, 1040};
const SettingsChoices choices{{"first", "second", "third"}, {"Ann", "Joanna", "Bob"}, {"Yeti", "Webcam"}};

Control& controlOf(Form& form, SettingsControl id) {
    return *std::find_if(form.controls.begin(), form.controls.end(),
                         [id](const Control& control) { return control.id == static_cast<int32_t>(id); });
}

TEST(SettingsForm, SavingWithoutAChangeKeepsAllThatCanBeShown) {
    const char* const all = R"({"alwaysOnTop": false, "camOn": true, "locLat": 1.5, "locLon": 2.5,
        "locName": "Bern", "micDevice": "Webcam", "micOn": false, "modelIndex": 2, "posX": 5, "posY": 6,
        "sizePx": 420, "startWithWindows": true, "userName": "Zo\u00eb", "voiceName": "Bob",
        "voiceOn": false, "webResearch": false})";
    const std::pair<const char*, const char*> cases[] = {
        {"{}", "{}"},
        {all, all},
        {R"({"sizePx": 241})", R"({"sizePx": 240})"},
        // The last name that holds the wanted part, letter by letter.
        {R"({"voiceName": "nn"})", R"({"voiceName": "Joanna"})"},
        {R"({"voiceName": "bob"})", R"({"voiceName": ""})"},
        {R"({"micDevice": "gone"})", R"({"micDevice": ""})"},
        {R"({"micDevice": "e"})", R"({"micDevice": "Webcam"})"},
    };
    for (const auto& [before, after] : cases) {
        Settings expected;
        expected.fromJson(after);
        Settings settings;
        settings.fromJson(before);
        applySettingsForm(settingsForm(settings, choices, screen, 96).controls, choices, settings);
        std::string saved;
        ASSERT_TRUE(readWholeFile(joinPath(dataFolder(), "settings.json"), saved));
        EXPECT_EQ(saved, expected.toJson()) << before;
    }
}

TEST(SettingsForm, ALongNameIsCutBetweenCharacters) {
    // Characters, and how many of them fit into 255 UTF-16 units.
    for (const auto& [character, fitting] :
         {std::pair("a", 255), std::pair("\xE2\x82\xAC", 255), std::pair("\xF0\x9F\x98\x80", 127)}) {
        std::string entered;
        for (int index = 0; index <= fitting; ++index)
            entered += character;
        Settings settings;
        Form form = settingsForm(settings, choices, screen, 96);
        controlOf(form, SettingsControl::userName).text = entered;
        applySettingsForm(form.controls, choices, settings);
        EXPECT_EQ(settings.userName.get() + character, entered);
    }
}

TEST(SettingsForm, IsScaledAndStandsInTheMiddleOfTheScreen) {
    const Settings settings;
    Form small = settingsForm(settings, choices, {1920, 100, 3840, 1180}, 96);
    EXPECT_EQ(small.place, (Rect{2670, 373, 2670 + 412, 373 + 506}));
    EXPECT_EQ(small.fontSize, 13);
    EXPECT_EQ(controlOf(small, SettingsControl::forget).place, (Rect{212, 410, 396, 438}));
    Form large = settingsForm(settings, choices, screen, 144);
    EXPECT_EQ(large.place, (Rect{645, 119, 645 + 618, 119 + 759}));
    EXPECT_EQ(large.fontSize, 20);
    EXPECT_EQ(controlOf(large, SettingsControl::forget).place, (Rect{318, 615, 594, 657}));
}

}  // namespace
