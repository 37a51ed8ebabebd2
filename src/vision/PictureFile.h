#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "vision/Picture.h"

/// A picture read from a file.
///
/// Threads: one at a time.
struct PictureFile {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> pixels;  ///< blue, green, red, alpha; top row first, no gaps

    [[nodiscard]] Picture view() const { return {pixels.data(), width, height, width * 4}; }

    /// Decodes the picture in these bytes. Returns false, and changes nothing, when it can't be decoded or
    /// has more than 100 megapixels.
    [[nodiscard]] bool decode(std::string_view bytes);

    /// Reads and decodes a file of up to 256 MiB. Returns false, and changes nothing, when it can't.
    [[nodiscard]] bool read(const std::string& path);
};
