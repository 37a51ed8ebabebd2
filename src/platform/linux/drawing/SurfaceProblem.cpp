#include "platform/linux/drawing/SurfaceProblem.h"

#include <cstdio>

std::string surfaceProblem(const char* words, uint32_t number) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%08x", number);
    return std::string(words) + digits;
}
