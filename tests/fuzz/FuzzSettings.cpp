// The settings file: whatever is in it, what is loaded can be saved and loaded again without a change.

#include "foundation/Settings.h"

#include "fuzz/Require.h"

using nlohmann::json;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string defaults = Settings().toJson();
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    Settings settings;
    settings.fromJson(bytes);
    require(settings.modelIndex >= 0 && settings.modelIndex <= 2, "the model is one of three");

    const std::string saved = settings.toJson();
    if (!json::accept(bytes)) require(saved == defaults, "a broken file changes nothing");
    const json object = json::parse(saved);
    require(object.size() == json::parse(defaults).size(), "every setting is saved, and nothing else");

    Settings again;
    again.fromJson(saved);
    require(again.toJson() == saved, "what was saved loads as the same");
    require(again.userName.get() == settings.userName.get(), "a text survives as it is");
    require(again.locLat == settings.locLat && again.locLon == settings.locLon,
            "a place survives to the bit");
    require(again.posX == settings.posX && again.sizePx == settings.sizePx, "a number survives");
    return 0;
}
