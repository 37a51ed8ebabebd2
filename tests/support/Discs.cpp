#include "support/Discs.h"

#include <gtest/gtest.h>
#include <stb_image_write.h>

#include <cmath>
#include <filesystem>

namespace fs = std::filesystem;

DiscPicture::DiscPicture(int32_t width, int32_t height, const std::vector<Disc>& discs)
    : width(width), height(height) {
    for (int32_t i = 0; i < width * height; ++i) {
        Disc shown{.red = 24, .green = 24, .blue = 24};
        for (const Disc& disc : discs) {
            if (std::hypot(i % width + 0.5 - disc.x, i / width + 0.5 - disc.y) <= disc.radius) shown = disc;
        }
        pixels.insert(pixels.end(), {shown.blue, shown.green, shown.red, 255});
    }
}

void DiscPicture::writePng(const std::string& path) const {
    std::vector<uint8_t> redFirst = pixels;
    for (size_t at = 0; at < redFirst.size(); at += 4)
        std::swap(redFirst[at], redFirst[at + 2]);
    EXPECT_NE(stbi_write_png(path.c_str(), width, height, 4, redFirst.data(), width * 4), 0) << path;
}

std::string tinyModel(const std::string& name) {
    return TINY_MODELS "/" + name + ".onnx";
}

void installTinyModels(const std::string& folder, const std::string& detector, const std::string& embedder) {
    fs::create_directories(folder);
    const auto always = fs::copy_options::overwrite_existing;
    EXPECT_TRUE(fs::copy_file(tinyModel(detector), folder + "/yunet.onnx", always));
    EXPECT_TRUE(fs::copy_file(tinyModel(embedder), folder + "/sface.onnx", always));
}
