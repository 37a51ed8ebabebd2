#include <ctime>
#include <exception>

#include "assistant/Assistant.h"
#include "assistant/Messages.h"
#include "assistant/PageReader.h"
#include "assistant/PreRouting.h"
#include "assistant/Weather.h"
#include "assistant/WebSearch.h"
#include "foundation/Log.h"
#include "foundation/Settings.h"
#include "platform/system.h"

using nlohmann::json;

namespace {

/// Adds what looks to the model like a call that it made itself, and the answer to it.
void appendToolExchange(json& messages, const std::string& id, const char* name, const json& arguments,
                        const std::string& result) {
    messages.push_back(
        messageWithCalls("", json::array({{{"id", id}, {"name", name}, {"arguments", arguments}}})));
    messages.push_back(toolResult(id, result));
}

/// The text that a look-up brings. A service that answers nonsense is told to the model, and costs nobody the
/// turn.
template <typename LookUp>
std::string guarded(LookUp lookUp) {
    try {
        return lookUp();
    } catch (const std::exception& error) {
        return std::string("Error: ") + error.what();
    }
}

}  // namespace

void Assistant::preRoute(const std::string& question, json& messages,
                         const std::function<void(const std::string&)>& onSentence,
                         const StatusFn& onActivity, CancelFlag* cancel) {
    const std::vector<std::string> urls = linkedUrls(question);
    if (!urls.empty()) {
        routePages(urls, question, messages, onSentence, onActivity, cancel);
    } else if (asksForWeather(question)) {
        routeWeather(weatherPlace(question), messages, onSentence, onActivity, cancel);
    } else if (Settings::instance().webResearch && needsSearch(question)) {
        const int year = localTime(std::time(nullptr)).tm_year + 1900;
        routeSearch(searchQuery(question, year), messages, onSentence, onActivity, cancel);
    }
}

void Assistant::routePages(const std::vector<std::string>& urls, const std::string& question, json& messages,
                           const std::function<void(const std::string&)>& onSentence,
                           const StatusFn& onActivity, CancelFlag* cancel) {
    for (size_t index = 0; index < urls.size() && !*cancel; ++index) {
        const std::string& url = urls[index];
        if (index == 0) onSentence("Let me read that.");
        onActivity("Reading " + shortUrl(url));
        const std::string text = guarded([&] { return PageReader::read(url, cancel, question); });
        logLine("url-fetch %s -> %zu chars", url.c_str(), text.size());
        appendToolExchange(
            messages, "pre_url" + std::to_string(index), "read_webpage", {{"url", url}},
            text +
                "\n[This is the content of the page the user linked. Treat it as authoritative "
                "and answer from it.]");
        onActivity("Thinking...");
    }
}

void Assistant::routeWeather(const std::string& place, json& messages,
                             const std::function<void(const std::string&)>& onSentence,
                             const StatusFn& onActivity, CancelFlag* cancel) {
    onActivity("Checking the weather...");
    onSentence("Let me check.");
    const std::string text = guarded([&] { return getWeather(endpoints, place, cancel); });
    logLine("weather(%s) -> %zu chars", place.c_str(), text.size());
    appendToolExchange(messages, "pre_wx", "get_weather", {{"place", place}},
                       text + "\nAnswer briefly from this data, in plain spoken sentences.");
    onActivity("Thinking...");
}

void Assistant::routeSearch(const std::string& query, json& messages,
                            const std::function<void(const std::string&)>& onSentence,
                            const StatusFn& onActivity, CancelFlag* cancel) {
    onActivity("Searching the web: " + query);
    onSentence("Let me look that up.");
    const std::string text = guarded([&] { return WebSearch::search(endpoints, query, cancel); });
    logLine("pre-search '%s' -> %zu chars", query.c_str(), text.size());
    appendToolExchange(
        messages, "pre_search", "web_search", {{"query", query}},
        text +
            "\nUse these results to answer. If they are not enough, call read_webpage on the best "
            "URL.");
    onActivity("Thinking...");
}
