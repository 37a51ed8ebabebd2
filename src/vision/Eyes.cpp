#include "vision/Eyes.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "foundation/Files.h"
#include "foundation/Log.h"
#include "foundation/Png.h"
#include "foundation/Ticks.h"
#include "platform/texts.h"
#include "vision/CameraChoice.h"

namespace {

constexpr int32_t listMs = 5000;  // listing may have to wake cameras up
constexpr uint64_t analysisPauseMs = 250;
constexpr int32_t frameWaitMs = 1000;

constexpr const char* stopped = "My camera stopped working.";

const char* problemOf(CameraState state) {
    switch (state) {
        case CameraState::notActivated:
            return platformTexts.cameraUnusable;
        case CameraState::noSuchFormat:
            return "My camera doesn't support a format I can read.";
        default:
            return "I couldn't read from the camera.";
    }
}

}  // namespace

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
    if (cameraThread.joinable()) cameraThread.join();  // the thread ended by itself
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
        camera.close();  // else a late interruption would stop the next start
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

// The camera thread.

void Eyes::watch() {
    try {
        lookUntilStopped();
    } catch (const std::exception& error) {
        logLine("camera thread ended by an unexpected error: %s", error.what());
        complain(stopped);
    } catch (...) {
        logLine("camera thread ended by an unexpected error of an unknown kind");
        complain(stopped);
    }
    camera.close();
    running = false;
}

void Eyes::lookUntilStopped() {
    if (!openCamera()) return;
    recognition.begin(tickCount());
    darkness = {};
    CameraFrame frame;
    uint64_t lastAnalysisTick = 0;
    while (!stopRequested) {
        const uint64_t since = std::min(tickCount() - lastAnalysisTick, analysisPauseMs);
        const CameraState state =
            camera.read(frame, static_cast<int32_t>(analysisPauseMs - since), frameWaitMs);
        if (state != CameraState::running || stopRequested) break;
        if (frame.pixels.empty()) continue;
        lastAnalysisTick = tickCount();
        analyse(frame, lastAnalysisTick);
    }
    if (stopRequested) return;
    logLine("camera stream ended (0x%lx)", static_cast<unsigned long>(camera.errorCode()));
    complain(stopped);
}

bool Eyes::openCamera() {
    const std::vector<CameraDevice> devices = listCameras(listMs, &stopRequested);
    if (stopRequested) return false;
    for (size_t index = 0; index < devices.size(); ++index)
        logLine("camera %u: %s", static_cast<unsigned>(index), devices[index].name.c_str());
    const CameraDevice* const device = chooseCamera(devices, deviceName);
    if (device == nullptr) {
        complain(devices.empty() ? "I couldn't find a camera." : "I couldn't pick a camera.");
        return false;
    }
    const CameraState state = camera.open(*device, chooseSize(device->sizes));
    if (stopRequested) return false;
    if (state != CameraState::running) {
        logLine("camera can't be opened (0x%lx)", static_cast<unsigned long>(camera.errorCode()));
        complain(problemOf(state));
        return false;
    }
    const CameraSize size = camera.size();
    logLine("camera opened %dx%d", size.width, size.height);
    return true;
}

void Eyes::analyse(const CameraFrame& frame, uint64_t now) {
    if (darkness.isNoticed(frame.pixels)) complain(platformTexts.cameraDark);
    if (!debugImagePath.empty()) leaveDebugImage(frame);
    const Picture picture{frame.pixels.data(), frame.width, frame.height, frame.width * 4};
    const std::vector<Face> faces = detect(picture);
    if (!debugImagePath.empty()) {
        const std::string best = faces.empty() ? "" : " best score " + std::to_string(faces.front().score);
        logLine("detect: %zu face(s)%s", faces.size(), best.c_str());
    }
    recognition.recognise(
        faces, frame.width, frame.height,
        [&](const Face& face, std::vector<float>& out) { return embed(picture, face, out); }, now);
}

void Eyes::leaveDebugImage(const CameraFrame& frame) const {
    std::vector<uint8_t> pixels = frame.pixels;
    for (size_t at = 0; at + 4 <= pixels.size(); at += 4) {
        std::swap(pixels[at], pixels[at + 2]);
        pixels[at + 3] = 255;
    }
    if (!writePng(debugImagePath, frame.width, frame.height, 4, pixels))
        logLine("%s can't be written", debugImagePath.c_str());
}

void Eyes::complain(const char* sentence) const {
    if (!onProblem) return;
    try {
        onProblem(sentence);
    } catch (const std::exception& error) {
        logLine("a problem of the camera can't be told: %s", error.what());
    } catch (...) {
        logLine("a problem of the camera can't be told: an error of an unknown kind");
    }
}
