#include "core/modes/CaptureMode.h"

#include <gtest/gtest.h>

namespace {

TEST(CaptureMode, ReadsItsSwitchesInAnyOrder) {
    const struct {
        const char* commandLine;
        const char* path;
        std::optional<int32_t> height;
        float jaw, yaw;
        bool withAlpha;
    } cases[] = {
        {"--shot head.png --size 300 --jaw 12.5 --yaw -40 --alpha", "head.png", 300, 12.5F, -40, true},
        {"--alpha --yaw 7 --size 5 --shot a/b.png --jaw 1e1", "a/b.png", 5, 10, 7, true},
        {"--shot head.png --size +30 --jaw inf --yaw nan", "head.png", 30, 0, 0, false},
        {"--shot head.png --size", "head.png", std::nullopt, 0, 0, false},
        {"--shot head.png --size 99999999999", "head.png", 0, 0, 0, false},
        {"--shot", "", std::nullopt, 0, 0, false},
    };
    for (const auto& row : cases) {
        const CaptureOrder order = captureOrder(row.commandLine);
        EXPECT_EQ(order.path, row.path) << row.commandLine;
        EXPECT_EQ(order.height, row.height) << row.commandLine;
        EXPECT_EQ(order.pose.jaw, row.jaw) << row.commandLine;
        EXPECT_EQ(order.pose.yaw, row.yaw) << row.commandLine;
        EXPECT_EQ(order.withAlpha, row.withAlpha) << row.commandLine;
    }
    const HeadPose pose = captureOrder("--shot head.png").pose;
    EXPECT_EQ(pose.pitch, -4);
    EXPECT_EQ(pose.eyeGlow, 0.25F);
    EXPECT_EQ(pose.earGlow, 0.1F);
}

}  // namespace
