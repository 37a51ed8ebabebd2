#pragma once

#include <cstdint>
#include <string>

/// What the camera sees of people, and whom.
struct Sighting {
    bool present = false;   ///< there is a face in the last picture
    float nx = 0;           ///< where the largest face's middle is, -1 to 1, to the right in the picture
    float ny = 0;           ///< and down
    std::string name;       ///< whose it is; empty when that isn't known, or nobody is there
    uint64_t seenTick = 0;  ///< of that picture, of `tickCount`; 0 when nobody is there
};
