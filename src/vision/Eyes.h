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

/// Sees who is there. It takes a picture from the camera four times a second, finds the faces in it and says
/// whose the largest is. No picture is kept.
///
/// Threads: `start`, `stop` and `loadModels` from any, one at a time; `sighting`, `learnFace` and the atomic
/// fields from any; the callbacks are set before `start`. `detect` and `embed` are the camera thread's while
/// it lives.
class Eyes {
public:
    Eyes() = default;
    ~Eyes() { stop(); }
    Eyes(const Eyes&) = delete;
    Eyes& operator=(const Eyes&) = delete;

    /// When it is set, each picture that is analysed is left there as a PNG, over the one before it, and the
    /// log tells what was found. Empty but to try the camera.
    std::string debugImagePath;
    std::function<void(const std::string& sentence)> onProblem;  ///< a sentence for the user; camera thread
    std::function<void(const std::string& name)> onGreet;  ///< someone who is known has come; its own thread

    /// Loads "yunet.onnx", which finds faces, and "sface.onnx", which tells them apart, from the folder, in
    /// place of those loaded before, and who is known. Not while the camera runs. Blocks for tens of
    /// milliseconds. False, with the reason in the log, when either can't be used.
    [[nodiscard]] bool loadModels(const std::string& directory);

    /// Starts to look through the first camera whose name holds this text, or the first that isn't infrared,
    /// unless a camera runs. False without models. What goes wrong later is told to `onProblem`, and
    /// `running` is false again.
    bool start(const std::string& wantedDevice);

    /// Ends it: nobody is seen any more. Waits for the picture that is being worked on, and 300 ms at most
    /// for a camera that hangs.
    void stop();

    /// Who is seen now.
    [[nodiscard]] Sighting sighting() { return recognition.sighting(); }

    /// Remembers the face that is seen under this name. Returns the sentence for the user.
    std::string learnFace(const std::string& name);

    /// The faces in the picture, the likeliest first. None without models, or when anything fails.
    [[nodiscard]] std::vector<Face> detect(const Picture& picture);

    /// Turns one of its faces into an embedding of unit length. False without models, for landmarks that
    /// aren't a face's, or when anything fails.
    [[nodiscard]] bool embed(const Picture& picture, const Face& face, std::vector<float>& out);

    std::atomic<bool> running = false;        ///< from `start` until the camera thread ends
    std::atomic<bool> stopRequested = false;  ///< the camera thread is to end

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
    Darkness darkness;       ///< of this camera; its thread only
    std::string deviceName;  ///< a part of the wanted camera's; empty: any

    std::mutex lifecycle;      ///< held by `start` and `stop`
    std::thread cameraThread;  ///< guarded by `lifecycle`
};
