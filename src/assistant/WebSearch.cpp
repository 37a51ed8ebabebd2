#include "assistant/WebSearch.h"

#include <algorithm>

#include "assistant/WebCoding.h"
#include "foundation/HttpClient.h"
#include "foundation/Log.h"
#include "foundation/Text.h"

namespace {

constexpr size_t enoughHits = 4;
constexpr size_t snippetBytes = 170;

HttpRequest searchRequest(CancelFlag* cancel) {
    HttpRequest request;
    request.connectTimeoutMs = 8000;
    request.receiveTimeoutMs = 12000;
    request.cancel = cancel;
    request.startsCancelled = false;
    return request;
}

HttpResponse askDuckDuckGo(const Endpoints& endpoints, const std::string& query, CancelFlag* cancel) {
    HttpRequest request = searchRequest(cancel);
    request.method = "POST";
    request.headers = {{"Content-Type", "application/x-www-form-urlencoded"},
                       {"Accept-Language", "en-US,en;q=0.9"}};
    request.body = "q=" + formEncode(query) + "&kl=us-en";
    return HttpClient::send(endpoints.duckDuckGo + "/html/", request);
}

HttpResponse askBing(const Endpoints& endpoints, const std::string& query, CancelFlag* cancel) {
    HttpRequest request = searchRequest(cancel);
    request.headers = {{"Accept-Language", "en-US,en;q=0.9"}};
    return HttpClient::send(endpoints.bing + "/search?q=" + formEncode(query) + "&setlang=en-US", request);
}

}  // namespace

void mergeHits(std::vector<SearchHit>& hits, std::vector<SearchHit> more) {
    for (SearchHit& hit : more) {
        const bool known = std::any_of(hits.begin(), hits.end(),
                                       [&](const SearchHit& present) { return present.url == hit.url; });
        if (!known) hits.push_back(std::move(hit));
    }
}

std::string hitsText(const std::vector<SearchHit>& hits) {
    std::string text;
    for (size_t i = 0; i < std::min(hits.size(), enoughHits); ++i) {
        const SearchHit& hit = hits[i];
        text += std::to_string(i + 1) + ". " + hit.title + "\n   " + hit.url + "\n   " +
                cutUtf8(repairUtf8(hit.snippet), snippetBytes) + "\n";
    }
    return text;
}

std::string WebSearch::search(const Endpoints& endpoints, const std::string& query, CancelFlag* cancel) {
    std::vector<SearchHit> hits;
    const HttpResponse first = askDuckDuckGo(endpoints, query, cancel);
    if (first.status == 200) {
        mergeHits(hits, parseDuckDuckGo(first.body));
    } else {
        logLine("ddg search failed: status=%d err=%s", first.status, first.error.c_str());
    }
    if (hits.size() < enoughHits && !*cancel) {
        const HttpResponse second = askBing(endpoints, query, cancel);
        if (second.status == 200) {
            mergeHits(hits, parseBing(second.body));
        } else {
            logLine("bing search failed: status=%d err=%s", second.status, second.error.c_str());
        }
    }
    logLine("search '%s' -> %zu hits", query.c_str(), hits.size());
    if (hits.empty()) {
        return "Search failed: no results could be retrieved (the search engines may be unreachable).";
    }
    return repairUtf8(hitsText(hits));
}
