#include "foundation/Image.h"

#include <cstdlib>
#include <limits>
#include <memory>

#include "foundation/JpegTables.h"

namespace {

// A few bytes can claim to unpack into gigabytes, so a picture's blocks of memory are bounded by its size.
constexpr size_t smallBlocks = 1 << 20;
thread_local size_t largestBlock = smallBlocks;

// New blocks are zeros: the decoder reads tables and pixels that a broken file hasn't brought.
void* newBlock(size_t size) {
    return size <= largestBlock ? std::calloc(1, size) : nullptr;
}

void* resizeBlock(void* block, size_t size) {
    return size <= largestBlock ? std::realloc(block, size) : nullptr;
}

}  // namespace

// The decoder is compiled in for these bounds.
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

/// Whether it is none of the files that make the decoder, up to 2.27, leave its memory.
bool isHarmless(std::string_view bytes) {
    if (bytes.starts_with('\xFF')) return areJpegTablesSound(bytes);
    // A plain bitmap (PGM, PPM) with 16 bits is read as if each took twice the room that it has.
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
    // A file may say one size to those who ask and come in another.
    if (!decoded || static_cast<size_t>(width) * static_cast<size_t>(height) > pixels) return false;
    image.width = width;
    image.height = height;
    image.pixels.assign(decoded.get(),
                        decoded.get() + size_t{4} * static_cast<size_t>(width) * static_cast<size_t>(height));
    return true;
}
