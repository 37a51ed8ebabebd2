#include "foundation/JpegTables.h"

#include <cstddef>
#include <cstdint>

namespace {

constexpr int tableMarker = 0xC4;

/// The file's bytes; behind its end there are zeros, as the decoder takes it.
struct Bytes {
    std::string_view text;

    [[nodiscard]] int at(size_t place) const {
        return place < text.size() ? static_cast<uint8_t>(text[place]) : 0;
    }
    [[nodiscard]] int pairAt(size_t place) const { return at(place) << 8 | at(place + 1); }
};

/// Whether the tables in the segment are sound whose length stands at `place`.
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
    // The decoder's own way from marker to marker: what lies in a segment, such as a small picture in the
    // camera's notes, isn't looked at, nor what stands behind the end. Where it gives up earlier, all the
    // better.
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
