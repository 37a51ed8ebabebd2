#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

/// A fuzzer's input as a text that arrives in pieces. Its last two bytes say how it is cut, so that a plain
/// text file is a good first input too.
struct CutInput {
    std::string text;
    std::vector<std::string_view> pieces;  ///< together `text`; none is empty
    size_t number = 0;                     ///< what the last two bytes make, for other choices

    CutInput(const uint8_t* data, size_t size) {
        const size_t length = size < 2 ? 0 : size - 2;
        for (size_t i = length; i < size; ++i)
            number = number << 8 | data[i];
        text.assign(reinterpret_cast<const char*>(data), length);
        std::minstd_rand random(static_cast<uint32_t>(number));
        const size_t longest = 1 + random() % 64;
        for (std::string_view rest = text; !rest.empty();) {
            pieces.push_back(rest.substr(0, 1 + random() % longest));
            rest.remove_prefix(pieces.back().size());
        }
    }
    CutInput(const CutInput&) = delete;
    CutInput& operator=(const CutInput&) = delete;
};
