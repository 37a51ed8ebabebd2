#pragma once

#include <gst/gst.h>

#include <cstdint>

#include "platform/camera.h"

/// What is wrong with a camera. The state is that of one that has brought no picture yet.
struct CameraProblem {
    CameraState state = CameraState::notReadable;
    uint32_t number = 0;  ///< as `Camera::errorCode` has it
};

/// The number for an error of a GStreamer domain such as `GST_RESOURCE_ERROR`.
uint32_t problemNumber(GQuark domain, gint code);

/// What an error message of a pipeline tells.
CameraProblem problemIn(GstMessage* message);
