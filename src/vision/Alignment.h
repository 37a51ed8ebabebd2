#pragma once

#include <vector>

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
