#include "vision/PictureFile.h"

#include <gtest/gtest.h>
#include <stb_image_write.h>
#include <unistd.h>

#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "support/Discs.h"
#include "support/TestData.h"

namespace {

using namespace std::string_literals;

TEST(PictureFile, ReadsWhatWasDrawnAndRefusesWhatIsNoPictureOrTooLarge) {
    const std::string folder = dataFolder() + "/";
    const DiscPicture drawn(37, 21, {{18, 10, 8, 250, 120, 3}});
    drawn.writePng(folder + "a.png");
    PictureFile picture;
    ASSERT_TRUE(picture.read(folder + "a.png"));
    EXPECT_EQ(picture.width, 37);
    EXPECT_EQ(picture.view().stride, 37 * 4);
    writeWholeFile(folder + "cut.png", fileText(folder + "a.png").substr(0, 100));
    writeWholeFile(folder + "large.ppm", "P6 10001 10000 255\n" + std::string(64, 'x'));
    ASSERT_EQ(symlink("/dev/zero", (folder + "zero").c_str()), 0);
    for (const char* name : {"cut.png", "large.ppm", "none.png", "zero"})
        EXPECT_FALSE(picture.read(folder + name)) << name;
    EXPECT_FALSE(picture.decode("P5 2 1 65535\nabcd")) << "the decoder reads beyond it";
    EXPECT_EQ(picture.pixels, drawn.pixels) << "unchanged by what failed";
    ASSERT_TRUE(picture.decode("P6 1 2 255\n\x01\x02\x03\x0A\x0B\x0C"));
    EXPECT_EQ(picture.pixels, (std::vector<uint8_t>{3, 2, 1, 255, 12, 11, 10, 255}));
}

// stb_image 2.27 wrote beyond its tables here, as a fuzzer found.
TEST(PictureFile, RefusesJpegTablesWithMoreCodesThanBytes) {
    std::string jpeg;
    const auto keep = [](void* into, void* data, int size) {
        static_cast<std::string*>(into)->append(static_cast<const char*>(data), static_cast<size_t>(size));
    };
    const DiscPicture drawn(24, 16, {});
    ASSERT_NE(stbi_write_jpg_to_func(keep, &jpeg, 24, 16, 4, drawn.pixels.data(), 90), 0);
    const std::string table = "\xFF\xC4\x03\x00\x10"s + std::string(1000, '\x20');
    PictureFile picture;
    EXPECT_TRUE(picture.decode(jpeg + table)) << "behind the end";
    for (const size_t marker : {size_t{2}, jpeg.find("\xFF\xDA"), jpeg.size() - 2})
        EXPECT_FALSE(picture.decode(jpeg.substr(0, marker) + table + jpeg.substr(marker))) << marker;
}

}  // namespace
