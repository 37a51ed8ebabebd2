#pragma once

#include <cstddef>
#include <string_view>

struct HeadImage;

/// Decodes one model's PNG and JPEG images, the formats of glTF. The images of a model share a limit of
/// pixels and bytes; a side may be as long as graphics cards allow.
///
/// Threads: one at a time.
struct ImageDecoder {
    static constexpr int longestSide = 16384;

    size_t pixelsLeft = 64 << 20;
    size_t bytesLeft = 256 << 20;

    /// Returns false, with `image` unchanged, when the bytes can't be decoded.
    [[nodiscard]] bool decode(std::string_view bytes, HeadImage& image);
};
