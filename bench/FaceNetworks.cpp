// What the eyes' work around their networks costs, beside bare runs of the same networks.
// Arguments: another detector's and another embedder's file.

#include <time.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "Figures.h"
#include "foundation/Files.h"
#include "platform/neural_network.h"
#include "vision/FaceDetector.h"
#include "vision/FaceEmbedder.h"
#include "vision/Sampling.h"

namespace {

constexpr int rounds = 150;

/// A frame as a camera brings it: smooth, with some noise.
struct Frame {
    static constexpr int32_t width = 640;
    static constexpr int32_t height = 480;
    std::vector<uint8_t> pixels;

    Frame() {
        uint32_t random = 1;
        for (int32_t at = 0; at < width * height * 4; ++at) {
            random = random * 1664525 + 1013904223;
            pixels.push_back(static_cast<uint8_t>(at / 4 % width / 3 + static_cast<int32_t>(random >> 28)));
        }
    }
    [[nodiscard]] Picture view() const { return {pixels.data(), width, height, width * 4}; }
};

/// The median time of each call, in milliseconds; they take turns, so that what disturbs one disturbs all.
std::vector<double> medians(const std::vector<std::function<void()>>& calls) {
    std::vector<std::vector<double>> times(calls.size());
    for (int round = 0; round < rounds; ++round) {
        for (size_t i = 0; i < calls.size(); ++i) {
            const int64_t begin = nanoseconds();
            calls[i]();
            times[i].push_back(millisecondsBetween(begin, nanoseconds()));
        }
    }
    std::vector<double> result;
    for (const std::vector<double>& each : times)
        result.push_back(quantile(each, 0.5));
    return result;
}

/// Milliseconds that all threads of this process have used.
double processorTime() {
    timespec time = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// The share of a core, in percent, of looking for faces four times a second.
double shareOfLooking(FaceDetector& detector, const Picture& picture) {
    constexpr int looks = 40;
    const double before = processorTime();
    auto next = std::chrono::steady_clock::now();
    for (int i = 0; i < looks; ++i) {
        (void)detector.detect(picture);
        next += std::chrono::milliseconds(250);
        std::this_thread::sleep_until(next);
    }
    return (processorTime() - before) / (looks * 250) * 100;
}

void measure(const std::string& detectorFile, const std::string& embedderFile) {
    const Frame frame;
    const Picture picture = frame.view();
    FaceDetector detector(detectorFile);
    NeuralNetwork bareDetector(detectorFile);
    const int32_t side = detector.inputSize();
    std::vector<float> tensor(size_t{3} * side * side);
    const auto looking = medians({[&] { (void)letterbox(picture, side, tensor); },
                                  [&] {
                                      (void)bareDetector.run(tensor, {1, 3, side, side});
                                  },
                                  [&] { (void)detector.detect(picture); }});
    std::printf(
        "FaceNetworks: %s, %d x %d: letterbox %.2f ms, bare run %.2f ms, detect in all %.2f ms; "
        "ratio %.2f (target 1.5)\n",
        detectorFile.c_str(), side, side, looking[0], looking[1], looking[2], looking[2] / looking[1]);

    const Face face{.landmarks = {250, 200, 330, 205, 290, 250, 255, 295, 325, 300}};
    FaceEmbedder embedder(embedderFile);
    NeuralNetwork bareEmbedder(embedderFile);
    std::vector<float> aligned;
    std::vector<float> embedding;
    Alignment alignment;
    (void)alignment.fit(face);
    const auto knowing = medians({[&] { alignment.warp(picture, aligned); },
                                  [&] {
                                      (void)bareEmbedder.run(aligned, {1, 3, 112, 112});
                                  },
                                  [&] { (void)embedder.embed(picture, face, embedding); }});
    std::printf(
        "FaceNetworks: %s: warp %.2f ms, bare run %.2f ms, embed in all %.2f ms; ratio %.2f (target "
        "1.5)\n",
        embedderFile.c_str(), knowing[0], knowing[1], knowing[2], knowing[2] / knowing[1]);
    std::printf("FaceNetworks: looking four times a second takes %.1f %% of a core\n",
                shareOfLooking(detector, picture));
}

/// The real network where it has been fetched, else the one of the same cost.
std::string fileOf(const std::string& real, const std::string& made) {
    return isFile(real) ? real : made;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        measure(argc > 1 ? argv[1] : fileOf(REAL_NETWORKS "/yunet.onnx", MADE_NETWORKS "/detector.onnx"),
                argc > 2 ? argv[2] : fileOf(REAL_NETWORKS "/sface.onnx", MADE_NETWORKS "/embedder.onnx"));
        return 0;
    } catch (const std::exception& error) {
        std::printf("FaceNetworks: not measured; %s\n", error.what());
        return 1;
    }
}
