#include "vision/Embedding.h"

#include <cmath>
#include <numeric>

bool makeUnitLength(std::vector<float>& vector) {
    const float length = std::sqrt(std::inner_product(vector.begin(), vector.end(), vector.begin(), 0.0F));
    if (!std::isfinite(length)) return false;
    for (float& entry : vector)
        entry /= length + 1e-9F;
    return true;
}

float similarity(std::span<const float> a, std::span<const float> b) {
    if (a.size() != b.size() || a.empty()) return -1.0F;
    return std::inner_product(a.begin(), a.end(), b.begin(), 0.0F);
}
