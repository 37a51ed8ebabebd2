#include "presence/ImageDecoder.h"

#include <cstdlib>
#include <memory>

#include "presence/HeadModel.h"

namespace {

// A few bytes can claim to unpack into gigabytes, so a picture's blocks of memory are bounded by its size.
thread_local size_t largestBlock = 0;

void* resizeBlock(void* block, size_t size) {
    return size <= largestBlock ? std::realloc(block, size) : nullptr;
}

}  // namespace

// The decoder is compiled in for these bounds, and without the formats that aren't glTF's.
#define STBI_MALLOC(size) resizeBlock(nullptr, size)
#define STBI_REALLOC(block, size) resizeBlock(block, size)
#define STBI_FREE(block) std::free(block)
#define STBI_ONLY_JPEG
#define STBI_ONLY_PNG
#define STBI_NO_STDIO
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb_image.h>

bool ImageDecoder::decode(std::string_view bytes, HeadImage& image) {
    if (bytes.size() > bytesLeft) return false;
    bytesLeft -= bytes.size();
    const auto* const data = reinterpret_cast<const unsigned char*>(bytes.data());
    const int size = static_cast<int>(bytes.size());
    constexpr size_t smallBlocks = 1 << 20;
    int width = 0;
    int height = 0;
    int channels = 0;
    largestBlock = smallBlocks;
    if (stbi_info_from_memory(data, size, &width, &height, &channels) == 0) return false;
    if (width < 1 || width > longestSide || height < 1 || height > longestSide) return false;

    const size_t pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
    if (pixels > pixelsLeft) return false;
    pixelsLeft -= pixels;
    // A pixel takes at most 8 bytes, and a block that grows is up to twice as large as what is in it.
    largestBlock = smallBlocks + 16 * pixels;
    const std::unique_ptr<stbi_uc, decltype(&stbi_image_free)> decoded(
        stbi_load_from_memory(data, size, &width, &height, &channels, 4), &stbi_image_free);
    if (!decoded) return false;
    image.width = width;
    image.height = height;
    image.pixels.assign(decoded.get(), decoded.get() + pixels * 4);
    return true;
}
