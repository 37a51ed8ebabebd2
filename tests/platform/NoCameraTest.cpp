// In a program without velu-camera beside it.

#include <gtest/gtest.h>

#include "platform/camera.h"

namespace {

TEST(CameraWithoutItsProgram, IsNotThereAndTellsWhy) {
    EXPECT_TRUE(listCameras(20000, nullptr).empty());
    Camera camera;
    EXPECT_EQ(camera.open({"v4l2:/dev/video0", "Desk", false, {}}, {640, 480}), CameraState::notReadable);
    EXPECT_EQ(camera.errorCode(), 0x50000U);
    CameraFrame frame;
    EXPECT_EQ(camera.read(frame, 20000, 20000), CameraState::notReadable);
}

}  // namespace
