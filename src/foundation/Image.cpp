#include "foundation/Image.h"

#include <cstdlib>
#include <limits>
#include <memory>

#include "foundation/JpegTables.h"

namespace {

// A few bytes can claim to unpack into gigabytes, so a picture's blocks of memory are bounded by its size.
constexpr size_t smallBlocks = 1 << 20;
thread_local size_t largestBlock = smallBlocks;

// New blocks are zeros: the decoder reads tables and pixels that are missing in a broken file.
void* newBlock(size_t size) {
    return size <= largestBlock ? std::calloc(1, size) : nullptr;
}

void* resizeBlock(void* block, size_t size) {
    return size <= largestBlock ? std::realloc(block, size) : nullptr;
}

}  // namespace

// The decoder is compiled here so that it uses these functions.
#define STBI_MALLOC(size) newBlock(size)
#define STBI_REALLOC(block, size) resizeBlock(block, size)
#define STBI_FREE(block) std::free(block)
#define STBI_NO_STDIO
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb_image.h>

namespace {

const stbi_uc* dataOf(std::string_view bytes) {
    return reinterpret_cast<const stbi_uc*>(bytes.data());
}

/// Returns whether the decoder, up to 2.27, is safe from this file.
bool isHarmless(std::string_view bytes) {
    if (bytes.starts_with('\xFF')) return areJpegTablesSound(bytes);
    // The decoder reads twice the bytes that a 16-bit PGM or PPM file has.
    return !bytes.starts_with('P') ||
           stbi_is_16_bit_from_memory(dataOf(bytes), static_cast<int>(bytes.size())) == 0;
}

}  // namespace

bool readImageSize(std::string_view bytes, int32_t& width, int32_t& height) {
    if (bytes.size() > static_cast<size_t>(std::numeric_limits<int>::max())) return false;
    int channels = 0;
    largestBlock = smallBlocks;
    return isHarmless(bytes) &&
           stbi_info_from_memory(dataOf(bytes), static_cast<int>(bytes.size()), &width, &height, &channels) !=
               0 &&
           width > 0 && height > 0;
}

bool decodeImage(std::string_view bytes, Image& image) {
    int32_t width = 0;
    int32_t height = 0;
    if (!readImageSize(bytes, width, height)) return false;
    const size_t pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
    // A pixel takes at most 16 bytes; where a block grows as it is filled it takes 8, and the block is up to
    // twice as large as what is in it.
    largestBlock = smallBlocks + 16 * pixels;
    int channels = 0;
    const std::unique_ptr<stbi_uc, decltype(&stbi_image_free)> decoded(
        stbi_load_from_memory(dataOf(bytes), static_cast<int>(bytes.size()), &width, &height, &channels, 4),
        &stbi_image_free);
    // The decoded size may differ from the declared one.
    if (!decoded || static_cast<size_t>(width) * static_cast<size_t>(height) > pixels) return false;
    image.width = width;
    image.height = height;
    image.pixels.assign(decoded.get(),
                        decoded.get() + size_t{4} * static_cast<size_t>(width) * static_cast<size_t>(height));
    return true;
}
