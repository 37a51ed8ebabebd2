#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/camera.h"

// The choice of a camera and of its picture size. Threads: any.

/// Returns whether the camera is an infrared one: its name says so, or it has no colours.
bool isInfrared(const CameraDevice& device);

/// Returns the first camera whose name contains `wanted`, else the first that isn't infrared, else null. An
/// empty `wanted` matches no camera.
const CameraDevice* chooseCamera(const std::vector<CameraDevice>& devices, const std::string& wanted);

/// Returns the size whose width is nearest to 640, and of equally near ones the first. An unknown width
/// counts as 0. Returns an unknown size when there is none.
CameraSize chooseSize(const std::vector<CameraSize>& sizes);
