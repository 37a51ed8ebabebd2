#include "foundation/Settings.h"

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <variant>

#include "foundation/Files.h"
#include "foundation/Json.h"
#include "foundation/Paths.h"
#include "foundation/Text.h"

using nlohmann::json;

namespace {

// The list of keys. Loading and saving both go through it, so that neither can forget a setting.
struct Field {
    const char* key;
    std::variant<SharedText Settings::*, std::atomic<double> Settings::*, std::atomic<int32_t> Settings::*,
                 std::atomic<bool> Settings::*>
        member;
};

const Field fields[] = {
    {"userName", &Settings::userName},
    {"locName", &Settings::locName},
    {"locLat", &Settings::locLat},
    {"locLon", &Settings::locLon},
    {"modelIndex", &Settings::modelIndex},
    {"sizePx", &Settings::sizePx},
    {"voiceOn", &Settings::voiceOn},
    {"alwaysOnTop", &Settings::alwaysOnTop},
    {"webResearch", &Settings::webResearch},
    {"startWithWindows", &Settings::startWithWindows},
    {"micOn", &Settings::micOn},
    {"camOn", &Settings::camOn},
    {"micDevice", &Settings::micDevice},
    {"voiceName", &Settings::voiceName},
    {"posX", &Settings::posX},
    {"posY", &Settings::posY},
};

void read(SharedText& field, const json& object, const char* key) {
    if (const std::string* text = stringAt(object, key)) field.set(*text);
}

void read(std::atomic<double>& field, const json& object, const char* key) {
    field = numberAt(object, key).value_or(field);
}

void read(std::atomic<int32_t>& field, const json& object, const char* key) {
    const double number = std::trunc(numberAt(object, key).value_or(field));
    if (number >= std::numeric_limits<int32_t>::min() && number <= std::numeric_limits<int32_t>::max()) {
        field = static_cast<int32_t>(number);
    }
}

void read(std::atomic<bool>& field, const json& object, const char* key) {
    field = boolAt(object, key).value_or(field);
}

json valueOf(const SharedText& field) {
    return repairUtf8(field.get());
}

template <typename Number>
json valueOf(const std::atomic<Number>& field) {
    return field.load();
}

std::string settingsPath() {
    return joinPath(dataFolder(), "settings.json");
}

}  // namespace

Settings& Settings::instance() {
    static Settings settings;
    return settings;
}

void Settings::fromJson(const std::string& bytes) {
    const json object = parseJson(bytes);
    for (const Field& field : fields) {
        std::visit([&](auto member) { read(this->*member, object, field.key); }, field.member);
    }
    // The catalogue has three rows; a foreign file may name a row that doesn't exist.
    if (static_cast<uint32_t>(modelIndex.load()) > 2) modelIndex = 0;
}

std::string Settings::toJson() const {
    json object = json::object();
    for (const Field& field : fields) {
        std::visit([&](auto member) { object[field.key] = valueOf(this->*member); }, field.member);
    }
    return object.dump(2, ' ', false, json::error_handler_t::replace);
}

void Settings::load() {
    std::string bytes;
    if (readWholeFile(settingsPath(), bytes)) fromJson(bytes);
}

void Settings::save() {
    const std::scoped_lock lock(fileMutex);
    writeWholeFile(settingsPath(), toJson());
}
