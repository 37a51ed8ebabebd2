#pragma once

#include <cstdint>
#include <string>

/// What the camera sees of people.
struct Sighting {
    bool present = false;   ///< the last picture shows a face
    float nx = 0;           ///< middle of the largest face, -1 (left) to 1 (right)
    float ny = 0;           ///< the same, -1 (top) to 1 (bottom)
    std::string name;       ///< the person's name; empty when unknown or nobody is there
    uint64_t seenTick = 0;  ///< `tickCount` of that picture; 0 when nobody is there
};
