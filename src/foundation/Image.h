#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

// Reading pictures of every common kind: PNG, JPEG, GIF (its first picture), BMP, TGA, PSD and a few more.
// Threads: everything here may be called from any thread.

/// A picture in memory: 8-bit red, green, blue, alpha, top row first.
struct Image {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> pixels;
};

/// What the picture in these bytes says of its size, in pixels. False when it is none that is known.
[[nodiscard]] bool readImageSize(std::string_view bytes, int32_t& width, int32_t& height);

/// Decodes the picture in these bytes. The memory that it takes meanwhile is bounded by its size, which is
/// the caller's to look at first. False when it can't be decoded; `image` is then as it was.
[[nodiscard]] bool decodeImage(std::string_view bytes, Image& image);
