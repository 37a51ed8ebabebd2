#pragma once

#include <string>
#include <vector>

#include "platform/neural_network.h"
#include "vision/Face.h"
#include "vision/Picture.h"

/// The similarity (turn, scale, shift) that takes a face's landmarks nearest to where an aligned face has
/// them, and so the picture around them into a square of `side` pixels.
struct Alignment {
    static constexpr int side = 112;

    float a = 0;  ///< scale times the turn's cosine
    float b = 0;  ///< scale times the turn's sine
    float meanX = 0;
    float meanY = 0;  ///< of the landmarks

    /// False when the landmarks lie too close together to tell, or aren't finite.
    [[nodiscard]] bool fit(const Face& face);

    /// Fills a tensor of three planes, blue, green and red, of `side` by `side`. The picture has a pixel.
    void warp(const Picture& picture, std::vector<float>& tensor) const;
};

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
