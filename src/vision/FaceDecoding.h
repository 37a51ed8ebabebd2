#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "vision/Face.h"

// Turns a detector's outputs into faces. Threads: any.

/// A detector's outputs for the cells of one grid, row by row.
struct GridOutputs {
    int32_t stride = 0;            ///< of the detector's input pixels per cell
    int32_t cells = 0;             ///< per row, and number of rows
    std::span<const float> cls{};  ///< per cell: the score that it is a face
    std::span<const float> obj{};  ///< per cell: the score that it is an object
    std::span<const float>
        bbox{};  ///< four: the box's middle in cells from this one, and its size's logarithm
    std::span<const float> kps{};  ///< ten: the landmarks in cells from this one
};

/// Appends a face for each cell with a sufficient score. `scale` is the number of the detector's input pixels
/// per picture pixel. Faces with values that aren't finite are skipped.
void decodeFaces(const GridOutputs& grid, float scale, std::vector<Face>& faces);

/// Returns the faces sorted by score, the best first, without those that overlap a better one by more than
/// 0.3 (intersection over union).
std::vector<Face> withoutOverlaps(std::vector<Face> faces);
