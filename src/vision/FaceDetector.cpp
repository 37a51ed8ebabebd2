#include "vision/FaceDetector.h"

#include <algorithm>
#include <span>
#include <stdexcept>

#include "vision/FaceDecoding.h"
#include "vision/Letterbox.h"

namespace {

using Values = std::vector<std::span<const float>>;

/// Returns the side that the network's file asks for, or 320 when the file leaves it open.
int32_t sideFrom(const std::vector<int64_t>& shape) {
    constexpr int32_t ownChoice = 320;
    constexpr int64_t largestSide = 4096;
    if (shape.size() != 4 || shape[2] <= 0 || shape[3] <= 0) return ownChoice;
    const int64_t side = std::max(shape[2], shape[3]);
    if (side > largestSide) {
        throw std::runtime_error("the detector wants " + std::to_string(side) + " pixels a side, more than " +
                                 std::to_string(largestSide));
    }
    return static_cast<int32_t>(side);
}

/// The network's outputs by name.
struct NamedOutputs {
    const std::vector<std::string>& names;
    const Values& values;

    /// Finds an output that must have `expected` values. Returns false when there is none of this name;
    /// throws when it has another size.
    [[nodiscard]] bool find(const std::string& name, size_t expected, std::span<const float>& output) const {
        const auto found = std::find(names.begin(), names.end(), name);
        if (found == names.end()) return false;
        output = values[static_cast<size_t>(found - names.begin())];
        if (output.size() == expected) return true;
        throw std::runtime_error("the detector's \"" + name + "\" has " + std::to_string(output.size()) +
                                 " values instead of " + std::to_string(expected));
    }

    /// Finds the grid's outputs. Returns false when one is missing.
    [[nodiscard]] bool findAll(GridOutputs& grid) const {
        const std::string suffix = "_" + std::to_string(grid.stride);
        const size_t cells = static_cast<size_t>(grid.cells) * static_cast<size_t>(grid.cells);
        return find("cls" + suffix, cells, grid.cls) && find("obj" + suffix, cells, grid.obj) &&
               find("bbox" + suffix, 4 * cells, grid.bbox) && find("kps" + suffix, 10 * cells, grid.kps);
    }
};

}  // namespace

FaceDetector::FaceDetector(const std::string& path)
    : network(path),
      side(sideFrom(network.inputShape())),
      tensor(3 * static_cast<size_t>(side) * static_cast<size_t>(side)) {}

std::vector<Face> FaceDetector::detect(const Picture& picture) {
    if (picture.width < 1 || picture.height < 1) return {};
    const float scale = letterbox(picture, side, tensor);
    const NamedOutputs outputs{network.outputNames(), network.run(tensor, {1, 3, side, side})};
    std::vector<Face> faces;
    for (const int32_t stride : {8, 16, 32}) {
        GridOutputs grid{.stride = stride, .cells = side / stride};
        if (outputs.findAll(grid)) decodeFaces(grid, scale, faces);
    }
    return withoutOverlaps(std::move(faces));
}
