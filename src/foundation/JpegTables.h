#pragma once

#include <string_view>

/// Returns whether each Huffman table that a decoder could find in this JPEG file has at most 256 codes.
/// stb_image up to 2.27 doesn't check that and would write beyond its own tables.
[[nodiscard]] bool areJpegTablesSound(std::string_view bytes);
