#pragma once

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

/// Prints the reason and ends the program, as the real engines do when their command line or model is bad.
[[noreturn]] void fail(const std::string& reason);

/// Throws an exception unless `object` is a JSON object with no other keys than these.
void checkKeys(const nlohmann::json& object, const std::set<std::string>& known);

/// What the stand-in engines have in common. Beside the program it leaves
/// - "last-command.json": the arguments of the last start as an array, without the program's own name;
/// - "requests.jsonl": the requests, one per line.
struct StandIn {
    std::filesystem::path folder;                ///< of the program
    std::map<std::string, std::string> options;  ///< by name, as given
    nlohmann::json script;                       ///< "script.json" beside the program, or an empty object

    /// Reads script and command line: `known` options have a value, `flags` none. Anything else ends the
    /// program.
    StandIn(int argc, char** argv, const std::set<std::string>& known,
            const std::set<std::string>& flags = {});

    void record(const nlohmann::json& request) const;
};
