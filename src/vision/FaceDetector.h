#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/neural_network.h"
#include "vision/Face.h"
#include "vision/Picture.h"

/// Finds faces with a detector of YuNet's kind.
///
/// Threads: one at a time. What goes wrong is thrown, as a `std::exception`; the next picture may go well.
class FaceDetector {
public:
    /// Loads the detector's file.
    explicit FaceDetector(const std::string& path);

    /// The side of the square in which it looks for faces, in pixels.
    [[nodiscard]] int32_t inputSize() const { return side; }

    /// The faces, the best score first; none in a picture without pixels. Throws also when the network's
    /// outputs haven't the sizes that they should have.
    [[nodiscard]] std::vector<Face> detect(const Picture& picture);

private:
    NeuralNetwork network;
    int32_t side;
    std::vector<float> tensor;  ///< the picture, as the network takes it
};
