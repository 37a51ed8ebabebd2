#include "vision/CameraChoice.h"

#include <gtest/gtest.h>

#include "vision/Darkness.h"

namespace {

CameraDevice named(const std::string& name, bool isGrey = false) {
    return {name, name, isGrey, {}};
}

TEST(CameraChoice, PrefersTheFirstThatSeesColours) {
    const struct {
        std::vector<CameraDevice> devices;
        const char* wanted;
        const char* chosen;  // empty: none
    } cases[] = {
        {{}, "", ""},
        {{named("Integrated Camera"), named("Integrated IR Camera")}, "", "Integrated Camera"},
        {{named("Integrated IR Camera"), named("Integrated Camera")}, "", "Integrated Camera"},
        {{named("Iris Camera"), named("Other")}, "", "Iris Camera"},
        {{named("Front Iris Camera"), named("Infrared Sensor"), named("Plain")}, "", "Plain"},
        {{named("Grey", true), named("")}, "", ""},
        {{named("Grey", true), named("INFRARED")}, "", ""},
        {{named("One"), named("Two IR"), named("Two")}, "Two", "Two IR"},
        {{named("One"), named("Two")}, "Three", "One"},
    };
    for (const auto& example : cases) {
        const CameraDevice* const chosen = chooseCamera(example.devices, example.wanted);
        EXPECT_EQ(chosen != nullptr ? chosen->name : "", example.chosen) << example.chosen;
    }
    const std::vector<CameraDevice> nameless = {named("Infrared"), named("")};
    EXPECT_EQ(chooseCamera(nameless, ""), &nameless[1]);
}

TEST(CameraChoice, TakesTheSizeNearestTo640) {
    const struct {
        std::vector<CameraSize> sizes;
        CameraSize chosen;
    } cases[] = {
        {{}, {0, 0}},
        {{{0, 0}}, {0, 0}},
        {{{1920, 1080}, {1280, 720}, {640, 480}, {640, 360}}, {640, 480}},
        {{{1920, 1080}, {320, 240}}, {320, 240}},
        {{{0, 0}, {1281, 720}}, {0, 0}},
        {{{800, 600}, {480, 360}}, {800, 600}},
    };
    for (const auto& example : cases)
        EXPECT_EQ(chooseSize(example.sizes), example.chosen) << example.chosen.width;
}

TEST(Darkness, IsNoticedOnceAndOnlyFromTheStart) {
    const std::vector<uint8_t> black(640 * 480 * 4);
    const std::vector<uint8_t> dim(640 * 480 * 4, 3);
    EXPECT_FALSE(Darkness::isLit(black));
    EXPECT_TRUE(Darkness::isLit(dim));
    EXPECT_FALSE(Darkness::isLit(std::vector<uint8_t>(640 * 480 * 4, 2)));
    EXPECT_TRUE(Darkness::isLit(std::vector<uint8_t>(4095))) << "too small to tell";
    const struct {
        int dark, lit, darkAgain;
        int noticed;
    } cases[] = {{39, 0, 0, 0}, {40, 0, 0, 1}, {100, 0, 0, 1}, {39, 1, 100, 0}, {41, 1, 100, 1}};
    for (const auto& example : cases) {
        Darkness darkness;
        int noticed = 0;
        for (int i = 0; i < example.dark; ++i)
            noticed += darkness.isNoticed(black) ? 1 : 0;
        for (int i = 0; i < example.lit; ++i)
            noticed += darkness.isNoticed(dim) ? 1 : 0;
        for (int i = 0; i < example.darkAgain; ++i)
            noticed += darkness.isNoticed(black) ? 1 : 0;
        EXPECT_EQ(noticed, example.noticed) << example.dark;
    }
}

}  // namespace
