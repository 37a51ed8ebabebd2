// FaceNetworks [DETECTOR [EMBEDDER]]
// Measures what finding and recognising faces costs, compared with bare runs of the same networks. The
// arguments name other model files.

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "Benchmark.h"
#include "FaceModels.h"
#include "Figures.h"
#include "ProcessCost.h"
#include "platform/neural_network.h"
#include "vision/Alignment.h"
#include "vision/FaceDetector.h"
#include "vision/FaceEmbedder.h"
#include "vision/Letterbox.h"

namespace {

constexpr int rounds = 150;

/// A frame like a camera's: smooth, with some noise.
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

/// Returns the share of a core, in percent, of looking for faces four times a second.
double shareOfLooking(FaceDetector& detector, const Picture& picture) {
    const auto look = [&] {
        auto next = std::chrono::steady_clock::now();
        for (int i = 0; i < 40; ++i) {
            (void)detector.detect(picture);
            next += std::chrono::milliseconds(250);
            std::this_thread::sleep_until(next);
        }
    };
    return percentOfCore([] { return ownProcessorMilliseconds() / 1000; }, look);
}

void measure(const std::string& detectorFile, const std::string& embedderFile) {
    const Frame frame;
    const Picture picture = frame.view();
    FaceDetector detector(detectorFile);
    NeuralNetwork bareDetector(detectorFile);
    const int32_t side = detector.inputSize();
    std::vector<float> tensor(size_t{3} * side * side);
    const auto looking = medianTimes(rounds, {[&] { (void)letterbox(picture, side, tensor); },
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
    const auto knowing = medianTimes(rounds, {[&] { alignment.warp(picture, aligned); },
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

}  // namespace

int main(int argc, char** argv) {
    return runBenchmark("FaceNetworks", [&] {
        measure(argc > 1 ? argv[1] : benchmarkDetector(), argc > 2 ? argv[2] : benchmarkEmbedder());
        return 0;
    });
}
