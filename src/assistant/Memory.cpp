#include "assistant/Memory.h"

#include <nlohmann/json.hpp>

#include "foundation/Json.h"

using nlohmann::json;

Memory Memory::fromJson(const std::string& bytes) {
    Memory memory;
    const json object = parseJson(bytes);
    for (const json& fact : arrayAt(object, "facts")) {
        if (fact.is_string()) memory.facts.push_back(fact.get<std::string>());
    }
    for (const json& exchange : arrayAt(object, "history")) {
        if (!exchange.is_array() || exchange.size() != 2 || !exchange[0].is_string() ||
            !exchange[1].is_string()) {
            continue;
        }
        memory.history.push_back({exchange[0].get<std::string>(), exchange[1].get<std::string>()});
    }
    return memory;
}

std::string Memory::toJson() const {
    json exchanges = json::array();
    for (const Exchange& exchange : history)
        exchanges.push_back(json::array({exchange.user, exchange.reply}));
    const json object = {{"facts", facts}, {"history", std::move(exchanges)}};
    return object.dump(1, ' ', false, json::error_handler_t::replace);
}
