#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <system_error>
#include <vector>

// What the stand-in engines have in common.

/// Ends the program, as the real ones do when their command line or model is no good.
[[noreturn]] inline void fail(const std::string& reason) {
    std::fprintf(stderr, "%s\n", reason.c_str());
    std::_Exit(1);
}

inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Leaves the arguments in "last-command.json" beside the executable, and gives its folder.
inline std::filesystem::path recordCommand(const std::vector<std::string>& arguments) {
    std::error_code code;
    std::filesystem::path folder = std::filesystem::read_symlink("/proc/self/exe", code).parent_path();
    std::ofstream(folder / "last-command.json") << nlohmann::json(arguments).dump();
    return folder;
}

/// Has a script read itself from "script.json" in the folder, if there is one.
template <typename Script>
void readScript(const std::filesystem::path& folder, Script& script) {
    std::string error;
    std::error_code code;
    if (std::filesystem::exists(folder / "script.json", code) &&
        !script.read(readFile(folder / "script.json"), error))
        fail("script.json: " + error);
}
