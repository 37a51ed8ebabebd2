#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "vision/Picture.h"

/// A disc: a face to the tiny networks. Its colour is the person.
struct Disc {
    double x = 0;  ///< middle, in pixels from the picture's edges
    double y = 0;
    double radius = 0;
    uint8_t red = 0;
    uint8_t green = 0;
    uint8_t blue = 0;
};

/// Discs on a dark ground: blue, green, red, alpha; top row first. A network tells two discs apart unless a
/// row or column of pixels passes from one straight into the other.
struct DiscPicture {
    DiscPicture(int32_t width, int32_t height, const std::vector<Disc>& discs);

    [[nodiscard]] Picture view() const { return {pixels.data(), width, height, width * 4}; }

    /// Writes it as a PNG file. Fails the current test when it can't.
    void writePng(const std::string& path) const;

    int32_t width;
    int32_t height;
    std::vector<uint8_t> pixels;
};

/// Returns the path of one of the networks of tests/models/make-tiny-models.py.
std::string tinyModel(const std::string& name);

/// Puts two of the networks into the folder, under the names that Velu looks for. Fails the current test when
/// it can't.
void installTinyModels(const std::string& folder, const std::string& detector = "discs-320",
                       const std::string& embedder = "colours");
