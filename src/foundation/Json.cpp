#include "foundation/Json.h"

#include <nlohmann/json.hpp>

using nlohmann::json;

namespace {

/// Returns whether arrays and objects are nested no deeper than `deepest`. The parser could only tell through
/// its callback, which makes its time grow with the square of a list's length.
bool isShallow(std::string_view text) {
    constexpr int deepest = 64;
    int depth = 0;
    bool inString = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') inString = !inString;
        if (inString) {
            if (c == '\\') ++i;
        } else if (c == '[' || c == '{') {
            if (++depth > deepest) return false;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return true;
}

/// Returns the value at `key`, null when `object` isn't an object or has no such key.
const json* valueAt(const json& object, const char* key) {
    const auto value = object.find(key);
    return value == object.end() ? nullptr : &*value;
}

}  // namespace

json parseJson(std::string_view text) {
    if (!isShallow(text)) return json::value_t::discarded;
    return json::parse(text, nullptr, false);
}

const std::string* stringAt(const json& object, const char* key) {
    const json* value = valueAt(object, key);
    return value == nullptr ? nullptr : value->get_ptr<const std::string*>();
}

std::string textAt(const json& object, const char* key) {
    const std::string* text = stringAt(object, key);
    return text == nullptr ? std::string() : *text;
}

std::optional<double> numberAt(const json& object, const char* key) {
    const json* value = valueAt(object, key);
    return value != nullptr && value->is_number() ? std::optional(value->get<double>()) : std::nullopt;
}

std::optional<bool> boolAt(const json& object, const char* key) {
    const json* value = valueAt(object, key);
    return value != nullptr && value->is_boolean() ? std::optional(value->get<bool>()) : std::nullopt;
}

const json& arrayAt(const json& object, const char* key) {
    static const json none = json::array();
    const json* value = valueAt(object, key);
    return value != nullptr && value->is_array() ? *value : none;
}

const json& objectAt(const json& object, const char* key) {
    static const json none = json::object();
    const json* value = valueAt(object, key);
    return value != nullptr && value->is_object() ? *value : none;
}
