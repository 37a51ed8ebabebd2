#pragma once

#include <vector>

#include "vision/Face.h"
#include "vision/Picture.h"

/// The similarity transform (rotation, scale, shift) that best maps a face's landmarks to those of an aligned
/// face, which fills a square of `side` pixels.
///
/// Threads: one at a time.
struct Alignment {
    static constexpr int side = 112;

    float a = 0;  ///< scale times the rotation's cosine
    float b = 0;  ///< scale times the rotation's sine
    float meanX = 0;
    float meanY = 0;  ///< of the landmarks

    /// Computes the transform. Returns false when the landmarks lie too close together or aren't finite.
    [[nodiscard]] bool fit(const Face& face);

    /// Fills a tensor of three planes (blue, green, red) of `side` by `side` with the aligned face. The
    /// picture must have a pixel.
    void warp(const Picture& picture, std::vector<float>& tensor) const;
};
