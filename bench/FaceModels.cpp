#include "FaceModels.h"

#include "foundation/Files.h"

namespace {

std::string fileOf(const std::string& real, const std::string& generated) {
    return isFile(real) ? real : generated;
}

}  // namespace

std::string benchmarkDetector() {
    return fileOf(REAL_NETWORKS "/yunet.onnx", MADE_NETWORKS "/detector.onnx");
}

std::string benchmarkEmbedder() {
    return fileOf(REAL_NETWORKS "/sface.onnx", MADE_NETWORKS "/embedder.onnx");
}
