#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "vision/Face.h"

// From a detector's outputs to faces.

/// A detector's outputs for the cells of one grid, row by row.
struct GridOutputs {
    int32_t stride = 0;            ///< pixels of the detector's input for each cell
    int32_t cells = 0;             ///< of each row, and rows
    std::span<const float> cls{};  ///< one for each cell: a face
    std::span<const float> obj{};  ///< one for each cell: something at all
    std::span<const float>
        bbox{};  ///< four: the box's middle in cells from this one, and its size's logarithm
    std::span<const float> kps{};  ///< ten: the landmarks in cells from this one
};

/// Adds the faces of the grid's cells that are certain enough. `scale` is how many pixels of the detector's
/// input make one of the picture's. What isn't finite is no face.
void decodeFaces(const GridOutputs& grid, float scale, std::vector<Face>& faces);

/// The faces by score, the best first, without those that overlap a better one by more than 0.3.
std::vector<Face> withoutOverlaps(std::vector<Face> faces);
