#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

// Reading pictures of the common formats: PNG, JPEG, GIF (its first picture), BMP, TGA, PSD and a few more.
// Threads: everything here may be called from any thread.

/// A picture in memory: 8-bit red, green, blue, alpha, top row first.
struct Image {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> pixels;
};

/// Reads the declared size of the picture in these bytes, in pixels. Returns false for an unknown format.
[[nodiscard]] bool readImageSize(std::string_view bytes, int32_t& width, int32_t& height);

/// Decodes the picture in these bytes. The memory needed is bounded by the picture's declared size, which the
/// caller checks first. Returns false when it can't be decoded; `image` is then unchanged.
[[nodiscard]] bool decodeImage(std::string_view bytes, Image& image);
