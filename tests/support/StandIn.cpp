#include "support/StandIn.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <stdexcept>
#include <vector>

using nlohmann::json;

void fail(const std::string& reason) {
    std::fprintf(stderr, "%s\n", reason.c_str());
    std::_Exit(1);
}

void checkKeys(const json& object, const std::set<std::string>& known) {
    if (!object.is_object()) throw std::runtime_error("an object is missing");
    for (const auto& [key, value] : object.items()) {
        if (known.count(key) == 0) throw std::runtime_error("unknown key \"" + key + "\"");
    }
}

StandIn::StandIn(int argc, char** argv, const std::set<std::string>& known,
                 const std::set<std::string>& flags)
    : folder(std::filesystem::path(argv[0]).parent_path()) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    std::ofstream(folder / "last-command.json") << json(arguments).dump();
    for (size_t i = 0; i < arguments.size(); ++i) {
        if (flags.count(arguments[i]) != 0) continue;
        if (known.count(arguments[i]) == 0 || i + 1 == arguments.size())
            fail("error: invalid argument: " + arguments[i]);
        options[arguments[i]] = arguments[i + 1];
        ++i;
    }
    if (!std::filesystem::is_regular_file(options["-m"])) fail("failed to load model " + options["-m"]);
    std::ifstream file(folder / "script.json", std::ios::binary);
    script = file ? json::parse(file) : json::object();
}

void StandIn::record(const json& request) const {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    std::ofstream(folder / "requests.jsonl", std::ios::binary | std::ios::app)
        << request.dump(-1, ' ', false, json::error_handler_t::replace) + "\n";
}
