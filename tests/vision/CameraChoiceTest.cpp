#include "vision/CameraChoice.h"

#include <gtest/gtest.h>

#include <array>
#include <tuple>

#include "vision/Darkness.h"

namespace {

TEST(CameraChoice, PrefersTheFirstThatSeesColours) {
    // The names, "grey" sees no colours; the wanted one; which is chosen, -1: none.
    const std::tuple<std::vector<const char*>, const char*, int> cases[] = {
        {{}, "", -1},
        {{"Front Iris Camera", "INFRARED Sensor", "grey", "Plain"}, "", 3},
        {{"Iris Camera", "Other"}, "", 0},
        {{"grey", "Infrared"}, "", -1},
        {{"One", "Two IR", "Two"}, "Two", 1},
        {{"One", "Two"}, "Three", 0},
    };
    for (const auto& [names, wanted, expected] : cases) {
        std::vector<CameraDevice> devices;
        for (const std::string name : names)
            devices.push_back({name, name, name == "grey", {}});
        const CameraDevice* const chosen = chooseCamera(devices, wanted);
        EXPECT_EQ(chosen != nullptr ? chosen - devices.data() : -1, expected) << wanted;
    }
}

TEST(CameraChoice, TakesTheSizeNearestTo640) {
    const std::pair<std::vector<CameraSize>, CameraSize> cases[] = {
        {{}, {0, 0}},
        {{{1920, 1080}, {640, 480}, {640, 360}}, {640, 480}},
        {{{0, 0}, {1281, 720}}, {0, 0}},
        {{{800, 600}, {480, 360}}, {800, 600}},
    };
    for (const auto& [sizes, chosen] : cases)
        EXPECT_EQ(chooseSize(sizes), chosen) << chosen.width;
}

TEST(Darkness, IsNoticedOnceAndOnlyFromTheStart) {
    const std::vector<uint8_t> black(640 * 480 * 4, 2);
    const std::vector<uint8_t> dim(640 * 480 * 4, 3);
    const std::array<int, 4> cases[] = {
        {39, 0, 0, 0}, {40, 0, 0, 1}, {100, 0, 0, 1}, {39, 1, 100, 0}, {41, 1, 100, 1}};
    for (const auto& [dark, lit, darkAgain, expected] : cases) {
        Darkness darkness;
        int noticed = 0;
        for (int i = 0; i < dark + lit + darkAgain; ++i)
            noticed += darkness.isNoticed(i >= dark && i < dark + lit ? dim : black) ? 1 : 0;
        EXPECT_EQ(noticed, expected) << dark;
    }
}

}  // namespace
