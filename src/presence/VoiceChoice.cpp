#include "presence/VoiceChoice.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr std::string_view builtInWords[] = {"Zira", "Aria", "Jenny", "Hazel", "Susan"};

}  // namespace

std::optional<size_t> pickVoice(const std::vector<std::string>& descriptions, std::string_view name) {
    const auto isWanted = [name](std::string_view description) {
        const auto holds = [description](std::string_view word) {
            return description.find(word) != std::string_view::npos;
        };
        return name.empty() ? std::any_of(std::begin(builtInWords), std::end(builtInWords), holds)
                            : holds(name);
    };
    const auto found = std::find_if(descriptions.begin(), descriptions.end(), isWanted);
    if (found == descriptions.end()) return std::nullopt;
    return static_cast<size_t>(found - descriptions.begin());
}
