#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/camera.h"

// Which camera is looked through, and at what size. Threads: any.

/// Whether the camera sees by infrared light: by its name, or because it knows no colours.
bool isInfrared(const CameraDevice& device);

/// The first camera whose name holds `wanted`; without one the first that isn't infrared. Null when there is
/// none. An empty text wants nothing.
const CameraDevice* chooseCamera(const std::vector<CameraDevice>& devices, const std::string& wanted);

/// The size whose width is nearest to 640, the first of several; what isn't told counts as 0. An untold one
/// when there is none.
CameraSize chooseSize(const std::vector<CameraSize>& sizes);
