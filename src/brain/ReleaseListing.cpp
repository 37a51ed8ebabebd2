#include "brain/ReleaseListing.h"

#include "foundation/Json.h"

using nlohmann::json;

namespace {

std::string textAt(const json& object, const char* key) {
    if (!object.is_object()) return {};
    const auto value = object.find(key);
    return value != object.end() && value->is_string() ? value->get<std::string>() : std::string();
}

}  // namespace

std::string chooseAsset(const std::string& listing,
                        const std::function<bool(const std::string& name)>& isWanted) {
    const json releases = parseJson(listing);
    if (!releases.is_array()) return {};
    for (const json& release : releases) {
        if (!release.is_object()) continue;
        const auto assets = release.find("assets");
        if (assets == release.end() || !assets->is_array()) continue;
        for (const json& asset : *assets) {
            if (!isWanted(textAt(asset, "name"))) continue;
            // Only a release's first match counts: without an address the next older release is looked at.
            std::string url = textAt(asset, "browser_download_url");
            if (!url.empty()) return url;
            break;
        }
    }
    return {};
}
