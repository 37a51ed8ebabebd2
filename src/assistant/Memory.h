#pragma once

#include <string>
#include <vector>

/// One question and the answer to it.
struct Exchange {
    std::string user;
    std::string reply;
};

/// What the companion remembers between runs; each list oldest first.
struct Memory {
    std::vector<std::string> facts;
    std::vector<Exchange> history;

    /// Reads the bytes of a memory file. Broken bytes give an empty memory, elements of a wrong shape or type
    /// are skipped.
    static Memory fromJson(const std::string& bytes);

    /// The bytes of a memory file. Text that isn't UTF-8 is repaired.
    [[nodiscard]] std::string toJson() const;
};
