#pragma once

#include <cstddef>
#include <string_view>

struct HeadImage;

/// Decodes one model's PNG and JPEG images, the kinds that glTF has. Together they may take as many pixels
/// and bytes as are left here, and a side no more than what graphics cards take. Threads: one at a time for
/// each.
struct ImageDecoder {
    static constexpr int longestSide = 16384;

    size_t pixelsLeft = 64 << 20;
    size_t bytesLeft = 256 << 20;

    /// False when it can't be decoded; `image` is then as it was.
    [[nodiscard]] bool decode(std::string_view bytes, HeadImage& image);
};
