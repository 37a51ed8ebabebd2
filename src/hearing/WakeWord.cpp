#include "hearing/WakeWord.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <string>

#include "foundation/Files.h"
#include "foundation/Paths.h"

namespace {

constexpr std::array<std::string_view, 4> names = {"velu", "velo", "vellu", "belu"};

/// The words under "partial" or else under "text".
std::string wordsOf(const nlohmann::json& result) {
    for (const char* key : {"partial", "text"}) {
        const auto words = result.find(key);
        if (words != result.end() && words->is_string()) return words->get<std::string>();
    }
    return {};
}

}  // namespace

std::string wakeModelFolder() {
    return assetPath("vosk-model-small-en-us-0.15");
}

bool heardWakeWord(std::string_view json) {
    const auto result = nlohmann::json::parse(json, nullptr, false);
    if (!result.is_object()) return false;
    const std::string words = wordsOf(result);
    for (size_t begin = 0; begin <= words.size();) {
        const size_t end = std::min(words.find(' ', begin), words.size());
        const std::string_view word = std::string_view(words).substr(begin, end - begin);
        if (std::find(names.begin(), names.end(), word) != names.end()) return true;
        begin = end + 1;
    }
    return false;
}
