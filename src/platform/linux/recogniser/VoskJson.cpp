#include "platform/linux/recogniser/VoskJson.h"

#include <nlohmann/json.hpp>

std::string voskGrammar(const std::vector<std::string>& phrases) {
    std::string grammar;
    for (const std::string& phrase : phrases)
        grammar += (grammar.empty() ? "" : ", ") + nlohmann::json(phrase).dump();
    return "[" + grammar + "]";
}

std::string wordsOfVoskResult(std::string_view json) {
    const auto result = nlohmann::json::parse(json, nullptr, false);
    if (!result.is_object()) return {};
    for (const char* key : {"partial", "text"}) {
        const auto words = result.find(key);
        if (words != result.end() && words->is_string()) return words->get<std::string>();
    }
    return {};
}
