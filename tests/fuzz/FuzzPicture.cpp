// A picture file: whatever is in it, a picture that comes out is whole and can be looked at.

#include <algorithm>

#include "foundation/Image.h"
#include "fuzz/Require.h"
#include "vision/Letterbox.h"
#include "vision/PictureFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    int32_t width = 0;
    int32_t height = 0;
    const bool hasSize = readImageSize(bytes, width, height);
    // Large ones are told apart by their size alone; to unpack one takes longer than a fuzzer waits.
    if (hasSize && int64_t{width} * height > 1 << 16) return 0;

    PictureFile picture;
    if (!picture.decode(bytes)) {
        require(picture.pixels.empty() && picture.width == 0 && picture.height == 0, "there is nothing");
        return 0;
    }
    require(hasSize, "what can be decoded has a size");
    require(picture.pixels.size() == size_t{4} * picture.width * picture.height, "a picture is whole");
    std::vector<float> tensor(size_t{3} * 32 * 32);
    letterbox(picture.view(), 32, tensor);
    require(std::all_of(tensor.begin(), tensor.end(), [](float value) { return value >= 0 && value < 256; }),
            "its values are bytes");
    return 0;
}
