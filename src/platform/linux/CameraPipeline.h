#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>

#include "platform/camera.h"
#include "platform/linux/GstPointer.h"

/// What all cameras share: one lock over all that more than one thread touches, held for a few assignments
/// each time, and one sign that some of it has changed.
///
/// Threads: any. It is never taken down: a thread that a driver doesn't let go may outlive everything else.
struct CameraRoom {
    std::mutex mutex;
    std::condition_variable changed;
    std::multiset<std::string> leaving;  ///< devices that somebody has let go of and that are in use still

    static CameraRoom& shared();
};

/// One use of a camera, from its start until the device is free again. A thread of its own builds the
/// pipeline, starts it and takes it down, for each of these may hang in a driver or a daemon. Nobody waits
/// for that thread to end: it shares in the ownership of this, owns the pipeline alone, and when it hangs it
/// is left behind, also when the program ends.
///
/// The pipeline: source ! caps ! (jpegdec) ! videoconvert ! appsink. Pictures stop behind the caps unless one
/// is wanted, so those that nobody looks at are neither unpacked nor converted, and what comes through is
/// new.
///
/// Threads: any.
struct CameraPipeline {
    using Clock = std::chrono::steady_clock;

    CameraPipeline(CameraDevice camera, const CameraSize& pictures)
        : device(std::move(camera)), size(pictures) {}

    /// Begins. The first picture is wanted at once.
    static std::shared_ptr<CameraPipeline> start(const CameraDevice& device, const CameraSize& size);

    // The rest of the functions: with the room's lock held.

    /// Asks for the next picture that the camera brings, and forgets an earlier one that was asked for.
    void want() { wanted = ++lastWanted; }

    /// It can't go on; the first reason counts. The device becomes free by and by.
    void fail(CameraState why, uint32_t number);

    /// Nobody needs it any more. The device becomes free by and by.
    void letGo();

    const CameraDevice device;
    const CameraSize size;

    // Guarded by the room's lock.
    CameraState state = CameraState::running;
    uint32_t error = 0;             ///< the number behind another state than `running`
    GstPointer<GstSample> picture;  ///< that was wanted, once it has come; to be freed without the lock
    bool hasBroughtPicture = false;
    bool isLetGo = false;
    bool isOver = false;                  ///< the device is free
    Clock::time_point heardAt;            ///< when the camera last brought a picture, wanted or not
    uint64_t wanted = 0, lastWanted = 0;  ///< the number of what is wanted, 0 when nothing is
    uint64_t passing = 0;                 ///< that of what went through last
};
