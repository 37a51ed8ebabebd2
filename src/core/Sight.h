#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/Gestures.h"
#include "vision/Sighting.h"

// What follows from the person whom the camera sees. Threads: any.

/// Returns what the assistant is told about the person; empty when nobody is there.
std::string seenText(const Sighting& sighting);

/// Returns the gaze of the head at the face before the camera. Empty without a face, or when it was seen too
/// long ago.
std::optional<Gaze> gazeAtFace(const Sighting& sighting, uint64_t now);
