#include "engines/ReleaseListing.h"

#include <nlohmann/json.hpp>

#include "foundation/Json.h"

using nlohmann::json;

HttpResponse fetchReleaseListing(const std::string& releases, const std::string& project,
                                 CancelFlag* cancel) {
    HttpRequest request;
    request.cancel = cancel;
    request.headers = {{"Accept", "application/vnd.github+json"}};
    return HttpClient::send(releases + "/repos/" + project + "/releases?per_page=8", request);
}

std::string chooseAsset(const std::string& listing,
                        const std::function<bool(const std::string& name)>& isWanted) {
    const json releases = parseJson(listing);
    if (!releases.is_array()) return {};
    for (const json& release : releases) {
        for (const json& asset : arrayAt(release, "assets")) {
            if (!isWanted(textAt(asset, "name"))) continue;
            // Only the first match of a release counts; without an address the next older release is
            // searched.
            std::string url = textAt(asset, "browser_download_url");
            if (!url.empty()) return url;
            break;
        }
    }
    return {};
}
