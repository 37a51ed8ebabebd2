#pragma once

#include <string>
#include <vector>

#include "platform/camera.h"
#include "platform/linux/camera/program/GstPointer.h"

/// A subsystem that cameras belong to.
enum class CameraSystem { v4l2, pipewire };

/// A camera as its subsystem shows it.
struct FoundCamera {
    CameraDevice listed;
    std::string file;              ///< that stands for it; empty without one
    GstPointer<GstDevice> device;  ///< from which a source of pictures is made
    GstPointer<GstCaps> readable;  ///< what it offers that we can read
};

/// The subsystem that an `id` is of.
CameraSystem systemOf(const std::string& id);

/// The cameras of a subsystem, in its order; none without it or without GStreamer's plugin for it. Starts
/// GStreamer when nothing has yet. Blocks for as long as the subsystem does.
std::vector<FoundCamera> findCameras(CameraSystem system);
