#include "vision/PictureFile.h"

#include <utility>

#include "foundation/Files.h"
#include "foundation/Image.h"

bool PictureFile::decode(std::string_view bytes) {
    constexpr int64_t mostPixels = 100'000'000;
    int32_t claimedWidth = 0;
    int32_t claimedHeight = 0;
    if (!readImageSize(bytes, claimedWidth, claimedHeight)) return false;
    if (int64_t{claimedWidth} * claimedHeight > mostPixels) return false;
    Image image;
    if (!decodeImage(bytes, image)) return false;
    for (size_t at = 0; at < image.pixels.size(); at += 4)
        std::swap(image.pixels[at], image.pixels[at + 2]);
    width = image.width;
    height = image.height;
    pixels = std::move(image.pixels);
    return true;
}

bool PictureFile::read(const std::string& path) {
    constexpr uint64_t mostBytes = 256 << 20;
    std::string bytes;
    const uint64_t size = fileSize(path);  // 0 for devices and pipes, which may never end
    return size > 0 && size <= mostBytes && readWholeFile(path, bytes) && decode(bytes);
}
