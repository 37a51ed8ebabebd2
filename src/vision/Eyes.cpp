#include "vision/Eyes.h"

#include <exception>
#include <utility>

#include "foundation/Files.h"
#include "foundation/Log.h"
#include "foundation/Ticks.h"

bool Eyes::loadModels(const std::string& directory) {
    try {
        auto newDetector = std::make_unique<FaceDetector>(joinPath(directory, "yunet.onnx"));
        embedder = std::make_unique<FaceEmbedder>(joinPath(directory, "sface.onnx"));
        detector = std::move(newDetector);
        recognition.loadPeople();
    } catch (const std::exception& error) {
        logLine("vision model load failed: %s", error.what());
        return false;
    }
    logLine("vision models loaded (detector input %d)", detector->inputSize());
    return true;
}

bool Eyes::start(const std::string& wantedDevice) {
    const std::lock_guard guard(lifecycle);
    if (running) return true;
    if (!detector) return false;
    if (cameraThread.joinable()) cameraThread.join();  // it ended by itself
    deviceName = wantedDevice;
    recognition.onGreet = onGreet;
    stopRequested = false;
    running = true;
    try {
        cameraThread = std::thread([this] { watch(); });
    } catch (...) {
        running = false;
        throw;
    }
    return true;
}

void Eyes::stop() {
    const std::lock_guard guard(lifecycle);
    stopRequested = true;
    if (cameraThread.joinable()) {
        camera.interrupt();
        cameraThread.join();
        camera.close();  // an interruption that came too late isn't for the next start
    }
    running = false;
    recognition.end();
}

std::string Eyes::learnFace(const std::string& name) {
    return recognition.learnFace(name, running, tickCount());
}

std::vector<Face> Eyes::detect(const Picture& picture) {
    if (!detector) return {};
    try {
        return detector->detect(picture);
    } catch (const std::exception& error) {
        logLine("detect failed: %s", error.what());
        return {};
    }
}

bool Eyes::embed(const Picture& picture, const Face& face, std::vector<float>& out) {
    if (!embedder) return false;
    try {
        return embedder->embed(picture, face, out);
    } catch (const std::exception& error) {
        logLine("embed failed: %s", error.what());
        return false;
    }
}
