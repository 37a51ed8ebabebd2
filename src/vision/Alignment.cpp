#include "vision/Alignment.h"

#include <cstddef>

#include "vision/Sampling.h"

namespace {

// The landmarks of an aligned face: their mean, and each one's offset from it.
constexpr float referenceX = 56.02616F;
constexpr float referenceY = 71.90078F;
constexpr float reference[5][2] = {{-17.73156F, -20.20448F},
                                   {17.505638F, -20.39938F},
                                   {-0.0009613037F, -0.16417694F},
                                   {-14.47686F, 20.464722F},
                                   {14.703735F, 20.303322F}};

}  // namespace

bool Alignment::fit(const Face& face) {
    meanX = 0;
    meanY = 0;
    for (size_t i = 0; i < 5; ++i) {
        meanX += face.landmarks[2 * i];
        meanY += face.landmarks[2 * i + 1];
    }
    meanX /= 5;
    meanY /= 5;

    float spread = 0;
    a = 0;
    b = 0;
    for (size_t i = 0; i < 5; ++i) {
        const float px = face.landmarks[2 * i] - meanX;
        const float py = face.landmarks[2 * i + 1] - meanY;
        const auto& [qx, qy] = reference[i];
        spread += px * px + py * py;
        a += px * qx + py * qy;
        b += px * qy - py * qx;
    }
    if (!(spread >= 0.001F)) return false;  // also refuses NaN
    a /= spread;
    b /= spread;
    return a * a + b * b >= 0.000000001F;
}

void Alignment::warp(const Picture& picture, std::vector<float>& tensor) const {
    constexpr size_t plane = size_t{side} * side;
    tensor.resize(3 * plane);
    const float squared = a * a + b * b;
    float* blue = tensor.data();
    for (int v = 0; v < side; ++v) {
        const float dv = static_cast<float>(v) - referenceY;
        for (int u = 0; u < side; ++u, ++blue) {
            const float du = static_cast<float>(u) - referenceX;
            const float fx = (a * du + b * dv) / squared + meanX;
            const float fy = (a * dv - b * du) / squared + meanY;
            const SampleSpot spot(picture.pixels, picture.stride, neighboursAt(fx, picture.width),
                                  neighboursAt(fy, picture.height));
            blue[0] = spot.value(0);
            blue[plane] = spot.value(1);
            blue[2 * plane] = spot.value(2);
        }
    }
}
