#include "presence/ImageDecoder.h"

#include "foundation/Image.h"
#include "presence/HeadModel.h"

bool ImageDecoder::decode(std::string_view bytes, HeadImage& image) {
    using std::string_view_literals::operator""sv;
    if (!bytes.starts_with("\x89PNG"sv) && !bytes.starts_with("\xFF\xD8"sv)) return false;
    if (bytes.size() > bytesLeft) return false;
    bytesLeft -= bytes.size();
    int32_t width = 0;
    int32_t height = 0;
    if (!readImageSize(bytes, width, height) || width > longestSide || height > longestSide) return false;
    const size_t pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
    if (pixels > pixelsLeft) return false;
    pixelsLeft -= pixels;
    Image decoded;
    if (!decodeImage(bytes, decoded)) return false;
    image.width = decoded.width;
    image.height = decoded.height;
    image.pixels = std::move(decoded.pixels);
    return true;
}
