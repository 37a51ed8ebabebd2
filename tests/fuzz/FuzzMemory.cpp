// The memory file: whatever is in it can be saved and loaded again without a change; and whatever is
// remembered, even text that isn't UTF-8, can be saved.

#include "assistant/Memory.h"

#include <algorithm>
#include <string_view>

#include "fuzz/Require.h"

namespace {

void requireSame(const Memory& saved, const Memory& loaded) {
    require(saved.facts.size() == loaded.facts.size(), "no fact is lost");
    require(saved.history.size() == loaded.history.size(), "no exchange is lost");
    require(loaded.toJson() == saved.toJson(), "what was saved loads as the same");
}

void checkLoading(const std::string& bytes) {
    const Memory memory = Memory::fromJson(bytes);
    const Memory again = Memory::fromJson(memory.toJson());
    requireSame(memory, again);
    require(memory.facts == again.facts, "facts survive as they are");
}

/// Each line of the input is a fact and, with the next one, an exchange.
void checkSaving(std::string_view bytes) {
    Memory memory;
    std::string last;
    while (!bytes.empty()) {
        const std::string line(bytes.substr(0, bytes.find('\n')));
        bytes.remove_prefix(std::min(line.size() + 1, bytes.size()));
        memory.facts.push_back(line);
        memory.history.push_back({last, line});
        last = line;
    }
    const Memory again = Memory::fromJson(memory.toJson());
    requireSame(memory, again);
    for (size_t i = 0; i < memory.facts.size(); ++i) {
        require(isUtf8(again.facts[i]), "what was saved is UTF-8");
        if (isUtf8(memory.facts[i])) require(again.facts[i] == memory.facts[i], "good text stays as it is");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    checkLoading(bytes);
    checkSaving(bytes);
    return 0;
}
