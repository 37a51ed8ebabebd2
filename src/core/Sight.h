#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/Gestures.h"
#include "vision/Sighting.h"

// What the companion makes of whom it sees. Threads: any.

/// What the assistant is told of it: empty when nobody is there.
std::string seenText(const Sighting& sighting);

/// The gaze of the head at the face that the camera sees. None when there isn't one, or not any more.
std::optional<Gaze> gazeAtFace(const Sighting& sighting, uint64_t now);
