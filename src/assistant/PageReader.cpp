#include "assistant/PageReader.h"

#include "assistant/Html.h"
#include "assistant/Passages.h"
#include "foundation/HttpClient.h"
#include "foundation/Text.h"

namespace {

constexpr size_t leastText = 40;  // bytes; less is a page that builds itself by script
constexpr size_t excerptBytes = 2200;
constexpr size_t mostBodyBytes = 1048576;

}  // namespace

std::string PageReader::read(const std::string& url, CancelFlag* cancel, const std::string& question) {
    if (!isHttpUrl(url)) return "Error: only http(s) URLs can be read.";
    HttpRequest request;
    request.headers = {{"Accept", "text/html,application/xhtml+xml,text/plain"},
                       {"Accept-Language", "en-US,en;q=0.9"}};
    request.connectTimeoutMs = 8000;
    request.receiveTimeoutMs = 15000;
    request.cancel = cancel;
    request.startsCancelled = false;
    // A link may lead to a film or a radio stream: nothing is fetched beyond the cap.
    std::string body;
    request.onData = [&body](const char* bytes, size_t count) {
        body.append(bytes, count);
        return body.size() < mostBodyBytes;
    };
    const HttpResponse response = HttpClient::send(url, request);
    if (response.status != 200) {
        const std::string reason =
            response.error.empty() ? "HTTP " + std::to_string(response.status) : response.error;
        return "Error: couldn't load the page (" + reason + ").";
    }
    const std::string text = htmlToText(body);
    if (text.size() < leastText) return "The page had no readable text.";
    // Repair comes first because it makes a text longer.
    return selectPassages(repairUtf8(text), question, excerptBytes);
}
