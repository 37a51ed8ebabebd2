#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// Width and height in pixels; both 0 where the device doesn't tell.
struct CameraSize {
    int32_t width = 0;
    int32_t height = 0;

    bool operator==(const CameraSize&) const = default;
};

/// A device that pictures can be taken from.
struct CameraDevice {
    std::string id;                 ///< by which the system knows it
    std::string name;               ///< by which its user does; empty when it has none
    bool isGrey = false;            ///< all that it offers is without colour
    std::vector<CameraSize> sizes;  ///< in which it offers what we can read, in its own order; of a range the
                                    ///< one that is nearest to 640 x 480; empty when we can read nothing
};

/// The cameras, in the system's order, but those that offer nothing that we can read come last; a camera that
/// two of its subsystems show is there once. A subsystem that doesn't answer within `limitMs` counts as
/// having none; empty within 100 ms after `cancel` (may be null) has turned true. Threads: any; blocks 100 ms
/// longer than that at most.
std::vector<CameraDevice> listCameras(int32_t limitMs, const std::atomic<bool>* cancel);

/// One picture: 4 bytes a pixel in the order blue, green, red, alpha; the top row first; no gaps. What stands
/// for alpha is the camera's affair and means nothing.
struct CameraFrame {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> pixels;
};

/// How it stands with a camera.
enum class CameraState {
    running,
    notActivated,  ///< the device can't be opened: gone, in use, or forbidden
    notReadable,   ///< it can be, but nothing comes of it
    noSuchFormat,  ///< nothing that it offers can be turned into our pixels
    ended,         ///< it brought pictures and doesn't any more
    interrupted,   ///< what was waited for was called off
};

/// One camera.
///
/// Threads: one, but for `interrupt`. No call waits longer than it says, but for the 200 ms at most in which
/// a camera is let go of; also when the driver hangs.
class Camera {
public:
    Camera();
    ~Camera();  ///< closes it
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    /// Opens the device at this one of its sizes and starts it; first lets go of one that is open. Waits 10
    /// seconds at most, until the first picture has come: a camera may take that long to wake up.
    [[nodiscard]] CameraState open(const CameraDevice& device, const CameraSize& size);

    /// The size of the pictures, once it is open. It is another than the one that was asked for when the
    /// camera is shared and another program has it running already.
    [[nodiscard]] CameraSize size() const;

    /// Takes the next picture that the camera brings once `pauseMs` have gone by, and waits up to `waitMs`
    /// beyond that for it: with `running` and no pixels none came. Those before are let go by at next to no
    /// cost, and none is kept: what one gets is never older than the call. A camera that doesn't bring what
    /// was asked for within 5 seconds has ended, over however many calls. What can't go on is let go of; with
    /// none open this tells again what became of the last.
    [[nodiscard]] CameraState read(CameraFrame& frame, int32_t pauseMs, int32_t waitMs);

    /// The system's number for what went wrong, behind a state other than `running`: in the upper 16 bits the
    /// part of it (1 the core, 2 a library, 3 the device, 4 the stream, 5 the process that takes the
    /// pictures, which has died or can't be started), in the lower what that part says; 0 when nothing was
    /// said.
    [[nodiscard]] uint32_t errorCode() const;

    /// Lets go of the device, and forgets an interruption that nothing waited for. Waits 200 ms at most: a
    /// driver that takes longer goes on by itself.
    void close();

    /// Calls off the `open` or `read` that waits, or the next one when none does. From any thread.
    void interrupt();

private:
    struct Parts;
    std::unique_ptr<Parts> parts;
};
