#include "hearing/WakeWord.h"

#include <algorithm>
#include <array>

#include "foundation/Files.h"
#include "foundation/Paths.h"

namespace {

constexpr std::array<std::string_view, 4> names = {"velu", "velo", "vellu", "belu"};

}  // namespace

const std::vector<std::string>& wakePhrases() {
    static const std::vector<std::string> phrases = {"velu",     "velo",      "vellu", "belu",
                                                     "hey velu", "okay velu", "[unk]"};
    return phrases;
}

std::string wakeModelFolder() {
    return assetPath("vosk-model-small-en-us-0.15");
}

bool heardWakeWord(std::string_view words) {
    for (size_t begin = 0; begin <= words.size();) {
        const size_t end = std::min(words.find(' ', begin), words.size());
        const std::string_view word = words.substr(begin, end - begin);
        if (std::find(names.begin(), names.end(), word) != names.end()) return true;
        begin = end + 1;
    }
    return false;
}
