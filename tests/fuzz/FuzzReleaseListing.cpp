// The list of an engine's releases, as a web host sends it: what is chosen from it stands in it, beside a
// name that was asked for.

#include "engines/ReleaseListing.h"

#include "fuzz/Require.h"

using nlohmann::json;

namespace {

bool isWanted(const std::string& name) {
    return name.rfind("llama-", 0) == 0 && name.find("x64") != std::string::npos;
}

/// Whether any release in the listing offers this address under a wanted name.
bool offers(const json& listing, const std::string& url) {
    for (const json& release : listing) {
        if (!release.is_object() || !release.contains("assets")) continue;
        for (const json& asset : release["assets"]) {
            if (!asset.is_object() || !asset.contains("name") || !asset.contains("browser_download_url"))
                continue;
            const json& name = asset["name"];
            if (asset["browser_download_url"] == url && name.is_string() &&
                isWanted(name.get<std::string>())) {
                return true;
            }
        }
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    int accepted = 0;
    const std::string url = chooseAsset(bytes, [&](const std::string& name) {
        require(isUtf8(name), "a name is UTF-8");
        if (isWanted(name)) ++accepted;
        return isWanted(name);
    });
    if (url.empty()) return 0;
    require(accepted > 0, "nothing is chosen without asking");
    require(offers(json::parse(bytes), url), "what is chosen stands in the listing");
    return 0;
}
