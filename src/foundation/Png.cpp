#include "foundation/Png.h"

#include <stb_image_write.h>

#include "foundation/Files.h"

bool writePng(const std::string& path, int32_t width, int32_t height, int32_t channels,
              const std::vector<uint8_t>& pixels) {
    // Into memory first: the library doesn't tell when the disk is full.
    std::string bytes;
    const auto keep = [](void* into, void* data, int size) {
        static_cast<std::string*>(into)->append(static_cast<const char*>(data), static_cast<size_t>(size));
    };
    return stbi_write_png_to_func(keep, &bytes, width, height, channels, pixels.data(), width * channels) !=
               0 &&
           writeWholeFile(path, bytes);
}
