#pragma once

#include <string>
#include <vector>

/// A question and the answer to it.
struct Exchange {
    std::string user;
    std::string reply;
};

/// The companion's memory between runs; each list is oldest first.
struct Memory {
    std::vector<std::string> facts;
    std::vector<Exchange> history;

    /// Reads the bytes of a memory file. Broken JSON gives an empty memory; elements of a wrong shape or type
    /// are skipped.
    static Memory fromJson(const std::string& bytes);

    /// Returns the bytes of a memory file. Text that isn't UTF-8 is repaired.
    [[nodiscard]] std::string toJson() const;
};
