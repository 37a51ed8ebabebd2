#include "foundation/JpegTables.h"

#include <cstddef>
#include <cstdint>

namespace {

constexpr int tableMarker = 0xC4;

/// The file's bytes, followed by zeros, as the decoder sees them.
struct Bytes {
    std::string_view text;

    [[nodiscard]] int at(size_t place) const {
        return place < text.size() ? static_cast<uint8_t>(text[place]) : 0;
    }
    [[nodiscard]] int pairAt(size_t place) const { return at(place) << 8 | at(place + 1); }
};

/// Returns whether the tables are sound in the segment whose length stands at `place`.
bool isSegmentSound(const Bytes& bytes, size_t place) {
    int left = bytes.pairAt(place) - 2;
    place += 2;
    while (left > 0) {
        int codes = 0;
        for (size_t length = 1; length <= 16; ++length)
            codes += bytes.at(place + length);
        if (codes > 256) return false;
        place += 17 + static_cast<size_t>(codes);
        left -= 17 + codes;
    }
    return true;
}

}  // namespace

bool areJpegTablesSound(std::string_view text) {
    constexpr int end = 0xD9;
    const Bytes bytes{text};
    // The search goes from marker to marker as the decoder does. It skips what lies inside a segment, such as
    // the camera's preview picture, and what follows the end marker. The decoder may give up earlier, which
    // is harmless.
    for (size_t place = text.find('\xFF'); place < text.size(); place = text.find('\xFF', place)) {
        while (bytes.at(place) == 0xFF)
            ++place;
        const int marker = bytes.at(place++);
        const bool standsAlone = marker == 0 || (marker >= 0xD0 && marker <= 0xD8);
        if (standsAlone) continue;
        if (marker == end || bytes.pairAt(place) < 2) break;
        if (marker == tableMarker && !isSegmentSound(bytes, place)) return false;
        place += static_cast<size_t>(bytes.pairAt(place));
    }
    return true;
}
