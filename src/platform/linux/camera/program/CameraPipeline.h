#pragma once

#include <gst/app/gstappsink.h>

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "platform/camera.h"
#include "platform/linux/camera/program/CameraProblem.h"
#include "platform/linux/camera/program/GstCameras.h"
#include "platform/linux/processes/FileDescriptor.h"

/// A camera that brings its pictures one by one, when they are wanted.
///
/// The pipeline: source ! caps ! (jpegdec) ! videoconvert ! appsink. Pictures stop behind the caps unless one
/// is wanted, so those that nobody looks at are neither unpacked nor converted, and what comes through is
/// new.
///
/// It is never taken down but with the process: to do that is what drivers and daemons hang and crash in.
///
/// Threads: one, beside GStreamer's own.
class CameraPipeline {
public:
    struct Wanted {
        GstPointer<GstSample> picture;  ///< null when none has come
        uint32_t number = 0;
    };

    /// Finds the device and starts it at that size, the picture number 1 being wanted at once. What goes
    /// wrong is a `problem`. Blocks for as long as the driver or the daemon does.
    CameraPipeline(const std::string& id, const CameraSize& size);
    ~CameraPipeline() = delete;
    CameraPipeline(const CameraPipeline&) = delete;
    CameraPipeline& operator=(const CameraPipeline&) = delete;

    /// Asks for the next picture that the camera brings, in place of one with a lower number.
    void want(uint32_t number);

    /// Waits until there is a picture or a problem, or `channel`, a file, can be read from or is at its end.
    void wait(int channel);

    /// The latest picture that has come, once.
    [[nodiscard]] Wanted take();

    /// Why it can't go on; nothing while it can.
    [[nodiscard]] std::optional<CameraProblem> problem();

private:
    using Clock = std::chrono::steady_clock;

    void build(const CameraSize& size);
    [[nodiscard]] GstElement* findSource(const CameraSize& size);
    [[nodiscard]] int millisecondsUntilLook();  ///< -1 when there is nothing to look for
    void look();
    void fail(const CameraProblem& problem);
    static GstPadProbeReturn lookAtPicture(GstPad* pad, GstPadProbeInfo* info, void* user);
    static GstFlowReturn takePicture(GstAppSink* sink, void* user);
    static GstBusSyncReply hearMessage(GstBus* bus, GstMessage* message, void* user);

    const std::string id;
    Clock::time_point lookedAt;  ///< for the camera, because its picture didn't come
    FileDescriptor changed;      ///< readable when a picture or a problem has come
    FileDescriptor connection;   ///< that the source uses, in the case of PipeWire's
    GstPointer<GstCaps> caps;    ///< what to ask the source for
    GstPointer<GstElement> pipeline;

    std::mutex mutex;
    // Guarded by `mutex`.
    uint32_t wanted = 1;  ///< the number of what is to be let through, 0 when nothing is
    Clock::time_point dueSince = Clock::now();
    uint32_t passing = 0;  ///< that of what went through last
    Wanted come;
    std::optional<CameraProblem> failure;
};
