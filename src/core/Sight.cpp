#include "core/Sight.h"

#include <algorithm>

std::string seenText(const Sighting& sighting) {
    if (!sighting.present) return "";
    return sighting.name.empty() ? "an unrecognized person" : sighting.name;
}

std::optional<Gaze> gazeAtFace(const Sighting& sighting, uint64_t now) {
    constexpr uint64_t memoryMs = 1500;
    constexpr float eagerness = 1.6F;
    if (!sighting.present || now - sighting.seenTick >= memoryMs) return std::nullopt;
    // The camera looks at the person, so its left is the head's right.
    return Gaze{std::clamp(-sighting.nx * eagerness, -1.0F, 1.0F),
                std::clamp(sighting.ny * eagerness, -1.0F, 1.0F), true};
}
