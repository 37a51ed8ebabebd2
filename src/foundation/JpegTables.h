#pragma once

#include <string_view>

/// Whether each Huffman table that a decoder could find in this JPEG file has at most the 256 codes that
/// there are bytes. stb_image up to 2.27 trusts it to and writes beyond its own tables otherwise.
[[nodiscard]] bool areJpegTablesSound(std::string_view bytes);
