#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/neural_network.h"
#include "vision/Face.h"
#include "vision/Picture.h"

/// Finds faces with a YuNet network.
///
/// Threads: one at a time. Failures are thrown as `std::exception`; the detector stays usable.
class FaceDetector {
public:
    /// Loads the network from the file. Throws when it can't be used.
    explicit FaceDetector(const std::string& path);

    /// Returns the side of the network's square input, in pixels.
    [[nodiscard]] int32_t inputSize() const { return side; }

    /// Returns the faces, the best score first; none for a picture without pixels. Throws when an output of
    /// the network has the wrong size.
    [[nodiscard]] std::vector<Face> detect(const Picture& picture);

private:
    NeuralNetwork network;
    int32_t side;
    std::vector<float> tensor;  ///< the picture, as the network takes it
};
