#include "vision/FaceEmbedder.h"

#include <stdexcept>

#include "vision/Alignment.h"
#include "vision/Embedding.h"

FaceEmbedder::FaceEmbedder(const std::string& path) : network(path) {}

bool FaceEmbedder::embed(const Picture& picture, const Face& face, std::vector<float>& out) {
    Alignment alignment;
    if (picture.width < 1 || picture.height < 1 || !alignment.fit(face)) return false;
    alignment.warp(picture, tensor);
    const auto& outputs = network.run(tensor, {1, 3, Alignment::side, Alignment::side});
    if (outputs.empty()) throw std::runtime_error("the embedder has no output");
    std::vector<float> embedding(outputs[0].begin(), outputs[0].end());
    if (!makeUnitLength(embedding)) throw std::runtime_error("the embedder's output isn't a direction");
    out = std::move(embedding);
    return true;
}
