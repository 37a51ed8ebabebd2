#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// Writes a PNG file of 8-bit channels, top row first. Returns false on failure. Threads: any.
[[nodiscard]] bool writePng(const std::string& path, int32_t width, int32_t height, int32_t channels,
                            const std::vector<uint8_t>& pixels);
