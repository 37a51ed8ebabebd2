#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "vision/Picture.h"

/// A picture out of a file, as the eyes take it.
struct PictureFile {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> pixels;  ///< blue, green, red, alpha; top row first, no gaps

    [[nodiscard]] Picture view() const { return {pixels.data(), width, height, width * 4}; }

    /// Decodes the picture in these bytes. False when it can't be decoded or has more than 100 megapixels;
    /// nothing is changed then.
    [[nodiscard]] bool decode(std::string_view bytes);

    /// Reads and decodes a file of up to 256 MiB. False when it can't; nothing is changed then.
    [[nodiscard]] bool read(const std::string& path);
};
