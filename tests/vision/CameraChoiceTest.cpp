#include "vision/CameraChoice.h"

#include <gtest/gtest.h>

#include "vision/Darkness.h"

namespace {

TEST(CameraChoice, PrefersTheFirstThatSeesColours) {
    const struct {
        std::vector<const char*> names;  // "grey": sees no colours
        const char* wanted;
        int chosen;  // -1: none
    } cases[] = {
        {{}, "", -1},
        {{"Camera IR", "Infrared", ""}, "", 2},
        {{"Front Iris Camera", "INFRARED Sensor", "grey", "Plain"}, "", 3},
        {{"Iris Camera", "Other"}, "", 0},
        {{"grey", "Infrared"}, "", -1},
        {{"One", "Two IR", "Two"}, "Two", 1},
        {{"One", "Two"}, "Three", 0},
    };
    for (const auto& example : cases) {
        std::vector<CameraDevice> devices;
        for (const std::string name : example.names)
            devices.push_back({name, name, name == "grey", {}});
        const CameraDevice* const chosen = chooseCamera(devices, example.wanted);
        EXPECT_EQ(chosen != nullptr ? chosen - devices.data() : -1, example.chosen) << example.chosen;
    }
}

TEST(CameraChoice, TakesTheSizeNearestTo640) {
    const std::pair<std::vector<CameraSize>, CameraSize> cases[] = {
        {{}, {0, 0}},
        {{{1920, 1080}, {1280, 720}, {640, 480}, {640, 360}}, {640, 480}},
        {{{0, 0}, {1281, 720}}, {0, 0}},
        {{{800, 600}, {480, 360}}, {800, 600}},
    };
    for (const auto& [sizes, chosen] : cases)
        EXPECT_EQ(chooseSize(sizes), chosen) << chosen.width;
}

TEST(Darkness, IsNoticedOnceAndOnlyFromTheStart) {
    const std::vector<uint8_t> black(640 * 480 * 4, 2);
    const std::vector<uint8_t> dim(640 * 480 * 4, 3);
    EXPECT_TRUE(Darkness::isLit(std::vector<uint8_t>(4095))) << "too small to tell";
    const struct {
        int dark, lit, darkAgain, noticed;
    } cases[] = {{39, 0, 0, 0}, {40, 0, 0, 1}, {100, 0, 0, 1}, {39, 1, 100, 0}, {41, 1, 100, 1}};
    for (const auto& example : cases) {
        Darkness darkness;
        int noticed = 0;
        for (int i = 0; i < example.dark + example.lit + example.darkAgain; ++i) {
            const bool isLit = i >= example.dark && i < example.dark + example.lit;
            noticed += darkness.isNoticed(isLit ? dim : black) ? 1 : 0;
        }
        EXPECT_EQ(noticed, example.noticed) << example.dark;
    }
}

}  // namespace
