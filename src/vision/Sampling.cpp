#include "vision/Sampling.h"

float sampleBilinear(const uint8_t* pixels, int32_t width, int32_t height, int32_t stride, float fx, float fy,
                     int32_t channel) {
    return SampleSpot(pixels, stride, neighboursAt(fx, width), neighboursAt(fy, height)).value(channel);
}
