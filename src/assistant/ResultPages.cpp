#include "assistant/ResultPages.h"

#include <algorithm>

#include "assistant/Html.h"
#include "assistant/WebCoding.h"

namespace {

constexpr size_t npos = std::string_view::npos;
constexpr size_t mostHits = 6;
constexpr std::string_view hrefMarker = "href=\"";

/// Searches for one marker from ever later positions. It remembers the last result, so the page is read only
/// once.
class MarkerSearch {
public:
    MarkerSearch(std::string_view html, std::string_view marker) : html(html), marker(marker) {}

    /// Returns the marker's first position at or after `from`, which never decreases.
    size_t next(size_t from) {
        if (!searched || (found != npos && found < from)) found = html.find(marker, from);
        searched = true;
        return found;
    }

private:
    std::string_view html;
    std::string_view marker;
    size_t found = 0;
    bool searched = false;
};

/// Returns the text between the first ">" at or after `from` and `endMarker`, or the end of `html`. `end`
/// becomes the position of its end.
std::string innerText(std::string_view html, size_t from, std::string_view endMarker, size_t& end) {
    end = html.size();
    const size_t open = html.find('>', from);
    if (open == npos) return {};
    end = std::min(html.find(endMarker, open + 1), html.size());
    return htmlToText(html.substr(open + 1, end - open - 1));
}

/// Returns the text from `at` to the next `stop`, or to the end.
std::string_view upTo(std::string_view text, size_t at, char stop) {
    return text.substr(at, std::min(text.find(stop, at), text.size()) - at);
}

/// Returns the address of the link whose tag holds the marker; empty when there is none near it.
std::string linkAddress(std::string_view html, size_t tagStart, size_t marker) {
    constexpr size_t reach = 400;  // bytes after the marker in which an address still belongs to this link
    const std::string_view near = html.substr(0, std::min(html.size(), marker + reach + hrefMarker.size()));
    const size_t href = near.find(hrefMarker, tagStart);
    if (href == npos || href >= marker + reach) return {};
    // The HTTP client refuses longer addresses. Without a limit, each marker near one would cost its length.
    constexpr size_t longest = 8192;
    const std::string_view address = html.substr(href + hrefMarker.size(), longest);
    return address.find('"') == npos ? std::string() : std::string(upTo(address, 0, '"'));
}

/// Returns the target of DuckDuckGo's redirect, or the address itself.
std::string unwrapDuckDuckGo(const std::string& url) {
    constexpr std::string_view target = "uddg=";
    if (const size_t at = url.find(target); at != std::string::npos) {
        return percentDecode(upTo(url, at + target.size(), '&'));
    }
    return url.rfind("//", 0) == 0 ? "https:" + url : url;
}

std::string withPlainAmpersands(std::string_view text) {
    constexpr std::string_view entity = "&amp;";
    std::string out;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find(entity, at), text.size());
        out.append(text, at, end - at);
        if (end < text.size()) out += '&';
        at = end + entity.size();
    }
    return out;
}

/// Returns the target of Bing's redirect, or the address itself.
std::string unwrapBing(std::string_view link) {
    const std::string url = withPlainAmpersands(link);
    size_t at = url.find("&u=a1");
    if (at == std::string::npos) at = url.find("?u=a1");
    return at == std::string::npos ? url : base64UrlDecode(upTo(url, at + 5, '&'));
}

}  // namespace

std::vector<SearchHit> parseDuckDuckGo(std::string_view html) {
    constexpr std::string_view advert = "duckduckgo.com/y.js";
    std::vector<SearchHit> hits;
    MarkerSearch results(html, "class=\"result__a\"");
    MarkerSearch snippets(html, "class=\"result__snippet\"");
    size_t pos = 0;
    while (hits.size() < mostHits) {
        const size_t marker = results.next(pos);
        if (marker == npos) break;
        // From the second result on there is a "<" at `pos`, so this never goes far back.
        const size_t tagStart = html.rfind('<', marker);
        SearchHit hit;
        hit.url = unwrapDuckDuckGo(linkAddress(html, tagStart == npos ? marker : tagStart, marker));
        size_t end = 0;
        hit.title = innerText(html, marker, "</a>", end);
        pos = end;
        const size_t snippet = snippets.next(pos);
        if (snippet != npos && snippet < results.next(pos)) {
            hit.snippet = innerText(html, snippet, "</a>", end);
            pos = end;
        }
        if (isHttpUrl(hit.url) && hit.url.find(advert) == std::string::npos && !hit.title.empty()) {
            hits.push_back(std::move(hit));
        }
    }
    return hits;
}

std::vector<SearchHit> parseBing(std::string_view html) {
    std::vector<SearchHit> hits;
    MarkerSearch results(html, "class=\"b_algo\"");
    for (size_t marker = results.next(0); marker != npos && hits.size() < mostHits;) {
        const size_t next = results.next(marker + 10);
        const std::string_view block = html.substr(marker, std::min(next, html.size()) - marker);
        marker = next;
        const size_t heading = block.find("<h2");
        const size_t href = heading == npos ? npos : block.find(hrefMarker, heading);
        if (href == npos) continue;
        SearchHit hit;
        hit.url = unwrapBing(upTo(block, href + hrefMarker.size(), '"'));
        size_t end = 0;
        hit.title = innerText(block, href, "</a>", end);
        if (const size_t paragraph = block.find("<p", end); paragraph != npos) {
            hit.snippet = innerText(block, paragraph, "</p>", end);
        }
        if (isHttpUrl(hit.url) && !hit.title.empty()) hits.push_back(std::move(hit));
    }
    return hits;
}
