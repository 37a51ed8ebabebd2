#include "platform/linux/sound/Visemes.h"

namespace {

struct Shape {
    std::string_view beginning;
    int32_t viseme;
};

/// Mnemonics carry marks of length and variant behind the sound they name ("A:", "I2", "t#"), so it is their
/// beginning that counts.
constexpr Shape shapes[] = {
    {"_", 0},   {"V", 1},  {"@", 1},   {"a", 1},  {"A", 2},   {"0", 2},   {"O", 3},  {"o", 3},
    {"e", 4},   {"E", 4},  {"U", 4},   {"3", 5},  {"i", 6},   {"I", 6},   {"j", 6},  {";", 6},
    {"w", 7},   {"u", 7},  {"oU", 8},  {"aU", 9}, {"OI", 10}, {"aI", 11}, {"h", 12}, {"r", 13},
    {"R", 13},  {"l", 14}, {"@L", 14}, {"s", 15}, {"z", 15},  {"S", 16},  {"Z", 16}, {"tS", 16},
    {"dZ", 16}, {"T", 17}, {"D", 17},  {"f", 18}, {"v", 18},  {"t", 19},  {"d", 19}, {"n", 19},
    {"?", 19},  {"k", 20}, {"g", 20},  {"N", 20}, {"x", 20},  {"p", 21},  {"b", 21}, {"m", 21},
};

}  // namespace

std::optional<int32_t> visemeOf(std::string_view mnemonic) {
    const Shape* best = nullptr;
    for (const Shape& shape : shapes) {
        const bool isLonger = best == nullptr || shape.beginning.size() > best->beginning.size();
        if (isLonger && mnemonic.starts_with(shape.beginning)) best = &shape;
    }
    if (best == nullptr) return std::nullopt;
    return best->viseme;
}
