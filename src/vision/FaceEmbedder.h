#pragma once

#include <string>
#include <vector>

#include "platform/neural_network.h"
#include "vision/Face.h"
#include "vision/Picture.h"

/// Tells whose a face is with an embedder of SFace's kind.
///
/// Threads: one at a time. What goes wrong is thrown, as a `std::exception`; the next face may go well.
class FaceEmbedder {
public:
    /// Loads the embedder's file.
    explicit FaceEmbedder(const std::string& path);

    /// Sets `out` to the face's embedding, of length 1. False when its landmarks are degenerate or the
    /// picture has no pixels. Throws also when what the network gives can't be brought to length 1.
    [[nodiscard]] bool embed(const Picture& picture, const Face& face, std::vector<float>& out);

private:
    NeuralNetwork network;
    std::vector<float> tensor;  ///< the aligned face, as the network takes it
};
