#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/camera.h"
#include "vision/Darkness.h"
#include "vision/FaceDetector.h"
#include "vision/FaceEmbedder.h"
#include "vision/Recognition.h"

/// Recognises who is in front of the camera. It takes a picture four times a second, finds the faces in it
/// and names the largest one. No picture is kept.
///
/// Threads: `start`, `stop` and `loadModels` on any thread, one at a time; `sighting`, `learnFace` and the
/// atomic fields on any thread; the callbacks are set before `start`. Only the camera thread calls `detect`
/// and `embed` while it runs. What a callback throws ends in the log.
class Eyes {
public:
    Eyes() = default;
    ~Eyes() { stop(); }
    Eyes(const Eyes&) = delete;
    Eyes& operator=(const Eyes&) = delete;

    /// If this isn't empty, each analysed picture is written there as a PNG, over the one before, and the log
    /// says how many faces were found. Used to test the camera.
    std::string debugImagePath;
    std::function<void(const std::string& sentence)>
        onProblem;  ///< called on the camera thread with a sentence for the user
    std::function<void(const std::string& name)>
        onGreet;  ///< called on a thread of its own when a known person comes

    /// Loads "yunet.onnx" (finds faces) and "sface.onnx" (tells them apart) from the folder, and the known
    /// people. Models that were loaded before are replaced. Must not be called while the camera runs. Blocks
    /// for tens of milliseconds. Returns false when a model can't be used; the log has the reason.
    [[nodiscard]] bool loadModels(const std::string& directory);

    /// Starts the camera that `chooseCamera` picks. Does nothing if a camera runs. Returns false without
    /// models. Later failures are reported to `onProblem`, and then `running` becomes false.
    bool start(const std::string& wantedDevice);

    /// Stops the camera; nobody is seen any more. Waits until the current picture is done, and at most 300 ms
    /// for a camera that hangs.
    void stop();

    /// Returns who is seen now.
    [[nodiscard]] Sighting sighting() { return recognition.sighting(); }

    /// Stores the visible face under this name. Returns a sentence for the user.
    std::string learnFace(const std::string& name);

    /// Returns the faces in the picture, the best score first. Returns none without models or on failure.
    [[nodiscard]] std::vector<Face> detect(const Picture& picture);

    /// Computes the unit-length embedding of one of the picture's faces. Returns false without models, for
    /// degenerate landmarks and on failure.
    [[nodiscard]] bool embed(const Picture& picture, const Face& face, std::vector<float>& out);

    std::atomic<bool> running = false;        ///< true from `start` until the camera thread ends
    std::atomic<bool> stopRequested = false;  ///< tells the camera thread to end

private:
    void watch();
    void lookUntilStopped();
    [[nodiscard]] bool openCamera();
    void analyse(const CameraFrame& frame, uint64_t now);
    void leaveDebugImage(const CameraFrame& frame) const;
    void complain(const char* sentence) const;

    std::unique_ptr<FaceDetector> detector;
    std::unique_ptr<FaceEmbedder> embedder;
    Recognition recognition;
    Camera camera;
    Darkness darkness;       ///< camera thread only
    std::string deviceName;  ///< part of the wanted camera's name; empty: any camera

    std::mutex lifecycle;      ///< held by `start` and `stop`
    std::thread cameraThread;  ///< guarded by `lifecycle`
};
