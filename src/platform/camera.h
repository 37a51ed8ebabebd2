#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// Width and height in pixels; both 0 when the device doesn't tell.
struct CameraSize {
    int32_t width = 0;
    int32_t height = 0;

    bool operator==(const CameraSize&) const = default;
};

/// A device that takes pictures.
struct CameraDevice {
    std::string id;       ///< the system's name for it
    std::string name;     ///< the user's name for it; may be empty
    bool isGrey = false;  ///< all of its formats are without colour
    /// The sizes of the formats that we can read, in the device's order; for a range the size nearest to
    /// 640 x 480. Empty when we can read none.
    std::vector<CameraSize> sizes;
};

/// Returns the cameras in the system's order, except that those without a readable format come last. A camera
/// that two subsystems report is listed once. A subsystem that doesn't answer within `limitMs` counts as
/// empty. Returns nothing, within 100 ms, when `cancel` (may be null) turns true. Threads: any; blocks for
/// `limitMs` and 100 ms at most.
std::vector<CameraDevice> listCameras(int32_t limitMs, const std::atomic<bool>* cancel);

/// A picture: 4 bytes a pixel in the order blue, green, red, alpha; the top row first; no gaps. The alpha
/// bytes mean nothing.
struct CameraFrame {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> pixels;
};

/// The state of a camera.
enum class CameraState {
    running,
    notActivated,  ///< the device can't be opened: gone, in use, or forbidden
    notReadable,   ///< the device was opened, but delivers nothing
    noSuchFormat,  ///< none of its formats can be converted to our pixels
    ended,         ///< it delivered pictures, and doesn't any more
    interrupted,   ///< the call was interrupted
};

/// One camera at a time.
///
/// Threads: one, except for `interrupt`. No call blocks longer than stated here, plus at most 200 ms to close
/// a camera, even when the driver hangs.
class Camera {
public:
    Camera();
    ~Camera();  ///< closes it
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    /// Closes the open device, if any, then opens and starts `device` at `size`, one of its sizes. Returns
    /// `running` once the first picture has come. Blocks for at most 10 seconds: a camera may need that long
    /// to wake up.
    [[nodiscard]] CameraState open(const CameraDevice& device, const CameraSize& size);

    /// Returns the size of the pictures of the open camera. It differs from the requested size when another
    /// program already uses the camera.
    [[nodiscard]] CameraSize size() const;

    /// Blocks for `pauseMs`, then for at most `waitMs` until the next picture comes. Returns `running` with
    /// the picture, or without pixels when none came. Earlier pictures are skipped at almost no cost, so that
    /// a picture is never older than the call. A camera that is silent for 5 seconds, over several calls too,
    /// has ended. On any other state the camera is closed, except for `interrupted`; a closed camera returns
    /// its last state again.
    [[nodiscard]] CameraState read(CameraFrame& frame, int32_t pauseMs, int32_t waitMs);

    /// Returns the system's number for the last failure: in the upper 16 bits where it happened (1 the core,
    /// 2 a library, 3 the device, 4 the stream, 5 the process that takes the pictures, which died or can't be
    /// started), in the lower 16 bits the reason; 0 when no reason is known.
    [[nodiscard]] uint32_t errorCode() const;

    /// Closes the device and drops an interruption that is still pending. Blocks for at most 200 ms; a slower
    /// driver finishes by itself. Does nothing more when no device is open.
    void close();

    /// Ends the `open` or `read` that blocks, or else the next one, with `interrupted`. Threads: any.
    void interrupt();

private:
    struct Parts;
    std::unique_ptr<Parts> parts;
};
