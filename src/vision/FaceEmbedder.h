#pragma once

#include <string>
#include <vector>

#include "platform/neural_network.h"
#include "vision/Face.h"
#include "vision/Picture.h"

/// Computes embeddings of faces with an SFace network.
///
/// Threads: one at a time. Failures are thrown as `std::exception`; the embedder stays usable.
class FaceEmbedder {
public:
    /// Loads the network from the file. Throws when it can't be used.
    explicit FaceEmbedder(const std::string& path);

    /// Sets `out` to the face's embedding, of length 1. Returns false when its landmarks are degenerate or
    /// the picture has no pixels. Throws when the network's output can't be scaled to length 1.
    [[nodiscard]] bool embed(const Picture& picture, const Face& face, std::vector<float>& out);

private:
    NeuralNetwork network;
    std::vector<float> tensor;  ///< the aligned face, as the network takes it
};
