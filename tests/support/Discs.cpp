#include "support/Discs.h"

#include <gtest/gtest.h>
#include <stb_image_write.h>

#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

DiscPicture::DiscPicture(int32_t width, int32_t height, const std::vector<Disc>& discs)
    : width(width), height(height) {
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            Disc ground{.red = 24, .green = 24, .blue = 24};
            for (const Disc& disc : discs) {
                const double right = x + 0.5 - disc.x;
                const double down = y + 0.5 - disc.y;
                if (right * right + down * down <= disc.radius * disc.radius) ground = disc;
            }
            pixels.insert(pixels.end(), {ground.blue, ground.green, ground.red, 255});
        }
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
    std::error_code error;
    fs::create_directories(folder, error);
    for (const auto& [model, file] : {std::pair(detector, "yunet.onnx"), std::pair(embedder, "sface.onnx")}) {
        fs::copy_file(tinyModel(model), fs::path(folder) / file, fs::copy_options::overwrite_existing, error);
        EXPECT_FALSE(error) << file << ": " << error.message();
    }
}
