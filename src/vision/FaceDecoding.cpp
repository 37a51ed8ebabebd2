#include "vision/FaceDecoding.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float leastScore = 0.6F;
constexpr float mostOverlap = 0.3F;

bool isFinite(const Face& face) {
    const auto finite = [](float value) { return std::isfinite(value); };
    return finite(face.x) && finite(face.y) && finite(face.w) && finite(face.h) &&
           std::all_of(face.landmarks.begin(), face.landmarks.end(), finite);
}

/// The intersection of the boxes by their union.
float overlap(const Face& a, const Face& b) {
    const float width = std::min(a.x + a.w, b.x + b.w) - std::max(a.x, b.x);
    const float height = std::min(a.y + a.h, b.y + b.h) - std::max(a.y, b.y);
    const float common = std::max(0.0F, width) * std::max(0.0F, height);
    return common / (a.w * a.h + b.w * b.h - common + 0.000001F);
}

}  // namespace

void decodeFaces(const GridOutputs& grid, float scale, std::vector<Face>& faces) {
    const auto s = static_cast<float>(grid.stride);
    size_t k = 0;
    for (int32_t row = 0; row < grid.cells; ++row) {
        for (int32_t column = 0; column < grid.cells; ++column, ++k) {
            const float c = std::clamp(grid.cls[k], 0.0F, 1.0F);
            const float o = std::clamp(grid.obj[k], 0.0F, 1.0F);
            const float score = std::sqrt(c * o);
            if (!(score >= leastScore)) continue;  // also skips NaN
            const auto i = static_cast<float>(row);
            const auto j = static_cast<float>(column);
            const float* const box = &grid.bbox[4 * k];
            const float width = std::exp(box[2]) * s;
            const float height = std::exp(box[3]) * s;
            Face face;
            face.x = ((j + box[0]) * s - width * 0.5F) / scale;
            face.y = ((i + box[1]) * s - height * 0.5F) / scale;
            face.w = width / scale;
            face.h = height / scale;
            face.score = score;
            for (size_t m = 0; m < 10; m += 2) {
                face.landmarks[m] = (j + grid.kps[10 * k + m]) * s / scale;
                face.landmarks[m + 1] = (i + grid.kps[10 * k + m + 1]) * s / scale;
            }
            if (isFinite(face)) faces.push_back(face);
        }
    }
}

std::vector<Face> withoutOverlaps(std::vector<Face> faces) {
    std::stable_sort(faces.begin(), faces.end(),
                     [](const Face& a, const Face& b) { return a.score > b.score; });
    std::vector<Face> kept;
    for (const Face& face : faces) {
        if (std::none_of(kept.begin(), kept.end(),
                         [&](const Face& better) { return overlap(face, better) > mostOverlap; })) {
            kept.push_back(face);
        }
    }
    return kept;
}
