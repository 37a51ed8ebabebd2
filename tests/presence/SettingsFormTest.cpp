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
    // 255 UTF-16 units fit: these are one and two.
    for (const std::string character : {"\xE2\x82\xAC", "\xF0\x9F\x98\x80"}) {
        std::string fitting;
        for (int count = character.size() == 3 ? 255 : 127; count > 0; --count)
            fitting += character;
        Settings settings;
        Form form = settingsForm(settings, choices, screen, 96);
        controlOf(form, SettingsControl::userName).text = fitting + character;
        applySettingsForm(form.controls, choices, settings);
        EXPECT_EQ(settings.userName.get(), fitting);
    }
}

}  // namespace
