#include <gst/video/video.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/linux/CameraPipeline.h"

namespace {

using Clock = CameraPipeline::Clock;
using std::chrono::milliseconds;

constexpr milliseconds openLimit(10000);
constexpr milliseconds silenceLimit(5000);
constexpr milliseconds closeLimit(200);

GstVideoInfo infoOf(GstSample* picture) {
    GstVideoInfo info;
    gst_video_info_init(&info);
    gst_video_info_from_caps(&info, gst_sample_get_caps(picture));
    return info;
}

/// The picture's rows, wherever it keeps them.
void copyRows(GstSample* picture, CameraFrame& frame) {
    const GstVideoInfo info = infoOf(picture);
    GstVideoFrame rows;
    if (gst_video_frame_map(&rows, &info, gst_sample_get_buffer(picture), GST_MAP_READ) == FALSE) return;
    frame.width = info.width;
    frame.height = info.height;
    const size_t rowBytes = static_cast<size_t>(frame.width) * 4;
    frame.pixels.resize(rowBytes * static_cast<size_t>(frame.height));
    const auto* from = static_cast<const uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&rows, 0));
    for (int32_t y = 0; y < frame.height; ++y)
        std::memcpy(&frame.pixels[static_cast<size_t>(y) * rowBytes],
                    from + static_cast<ptrdiff_t>(y) * GST_VIDEO_FRAME_PLANE_STRIDE(&rows, 0), rowBytes);
    gst_video_frame_unmap(&rows);
}

}  // namespace

struct Camera::Parts {
    using Lock = std::unique_lock<std::mutex>;

    CameraRoom& room = CameraRoom::shared();

    // Of the camera's own thread.
    std::shared_ptr<CameraPipeline> pipeline;      ///< of the device that is open
    CameraState last = CameraState::notActivated;  ///< what became of it, without one
    uint32_t error = 0;
    CameraSize size;

    bool isInterrupted = false;  ///< guarded by the room's lock

    /// Waits until `isDone`, or the camera fails, or all is called off, or the deadline; it is told when the
    /// camera has been silent for too long.
    template <typename Condition>
    void wait(Lock& lock, Clock::time_point deadline, Condition isDone) {
        while (!isInterrupted && pipeline->state == CameraState::running && !isDone()) {
            const auto now = Clock::now();
            auto due = deadline;
            if (pipeline->hasBroughtPicture) {
                const auto silentAt = pipeline->heardAt + silenceLimit;
                if (now >= silentAt) pipeline->fail(CameraState::ended, 0);
                due = std::min(deadline, silentAt);
            }
            if (now >= deadline) return;
            room.changed.wait_until(lock, due);
        }
    }

    /// Whether all was called off, which is forgotten then.
    bool takeInterruption() { return std::exchange(isInterrupted, false); }

    /// Lets go of what is open, and of the lock, for what the camera brought is freed without it.
    CameraState end(Lock& lock, CameraState why, uint32_t number) {
        const std::shared_ptr<CameraPipeline> left = std::move(pipeline);
        if (left != nullptr) left->letGo();
        last = why;
        error = number;
        lock.unlock();
        return why;
    }
};

Camera::Camera() : parts(std::make_unique<Parts>()) {}

Camera::~Camera() {
    close();
}

CameraState Camera::open(const CameraDevice& device, const CameraSize& size) {
    Parts& p = *parts;
    const auto deadline = Clock::now() + openLimit;
    GstPointer<GstSample> picture;
    Parts::Lock lock(p.room.mutex);
    if (p.pipeline != nullptr) {
        p.end(lock, CameraState::notActivated, 0);
        lock.lock();
    }
    // Or it would be in use, by ourselves; and a driver that hangs would collect threads.
    const auto isFree = [&] { return p.room.leaving.count(device.id) == 0; };
    p.room.changed.wait_until(lock, deadline, [&] { return p.isInterrupted || isFree(); });
    if (p.takeInterruption()) return p.end(lock, CameraState::interrupted, 0);
    if (!isFree()) return p.end(lock, CameraState::notReadable, 0);

    p.pipeline = CameraPipeline::start(device, size);
    p.wait(lock, deadline, [&] { return p.pipeline->picture != nullptr; });
    if (p.takeInterruption()) return p.end(lock, CameraState::interrupted, 0);
    if (p.pipeline->state != CameraState::running) return p.end(lock, p.pipeline->state, p.pipeline->error);
    if (p.pipeline->picture == nullptr) return p.end(lock, CameraState::notReadable, 0);
    picture = std::move(p.pipeline->picture);
    lock.unlock();
    const GstVideoInfo info = infoOf(picture.get());
    p.size = {info.width, info.height};
    return CameraState::running;
}

CameraSize Camera::size() const {
    return parts->size;
}

CameraState Camera::read(CameraFrame& frame, int32_t pauseMs, int32_t waitMs) {
    Parts& p = *parts;
    frame.pixels.clear();
    if (p.pipeline == nullptr) return p.last;
    const auto begin = Clock::now() + milliseconds(pauseMs);
    GstPointer<GstSample> stale, picture;
    Parts::Lock lock(p.room.mutex);
    p.wait(lock, begin, [] { return false; });
    stale = std::move(p.pipeline->picture);
    p.pipeline->want();
    p.wait(lock, begin + milliseconds(waitMs), [&] { return p.pipeline->picture != nullptr; });
    p.pipeline->wanted = 0;
    if (p.takeInterruption()) return CameraState::interrupted;
    picture = std::move(p.pipeline->picture);
    if (picture == nullptr && p.pipeline->state != CameraState::running)
        return p.end(lock, p.pipeline->state, p.pipeline->error);
    lock.unlock();
    if (picture != nullptr) copyRows(picture.get(), frame);
    return CameraState::running;
}

uint32_t Camera::errorCode() const {
    return parts->error;
}

void Camera::close() {
    Parts& p = *parts;
    Parts::Lock lock(p.room.mutex);
    p.isInterrupted = false;
    const std::shared_ptr<CameraPipeline> left = p.pipeline;
    if (left == nullptr) return;
    p.end(lock, CameraState::notActivated, 0);
    lock.lock();
    p.room.changed.wait_for(lock, closeLimit, [&] { return left->isOver; });
    lock.unlock();
}

void Camera::interrupt() {
    const std::lock_guard lock(parts->room.mutex);
    parts->isInterrupted = true;
    parts->room.changed.notify_all();
}
