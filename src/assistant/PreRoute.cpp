#include "assistant/PreRoute.h"

#include <ctime>
#include <exception>
#include <nlohmann/json.hpp>
#include <vector>

#include "assistant/ChatMessage.h"
#include "assistant/PageReader.h"
#include "assistant/QuestionWords.h"
#include "assistant/Weather.h"
#include "assistant/WebSearch.h"
#include "foundation/Log.h"
#include "platform/system.h"

using nlohmann::json;

namespace {

/// One run of pre-routing: the arguments of `preRoute`, and a function for each route.
class Routes {
public:
    void run(const std::string& question) {
        const std::vector<std::string> urls = linkedUrls(question);
        if (!urls.empty()) {
            readPages(urls, question);
        } else if (asksForWeather(question)) {
            fetchWeather(weatherPlace(question));
        } else if (user.choices().webResearch && needsSearch(question)) {
            const int year = localTime(std::time(nullptr)).tm_year + 1900;
            searchWeb(searchQuery(question, year));
        }
    }

    const Endpoints& endpoints;
    const UserProfile& user;
    json& messages;
    const std::function<void(const std::string&)>& onSentence;
    const StatusFn& onActivity;
    CancelFlag* cancel;

private:
    /// Returns the text of a look-up. An exception, raised by a malformed answer of a service, becomes a text
    /// for the model and doesn't end the turn.
    template <typename LookUp>
    static std::string guarded(LookUp lookUp) {
        try {
            return lookUp();
        } catch (const std::exception& error) {
            return std::string("Error: ") + error.what();
        }
    }

    void readPages(const std::vector<std::string>& urls, const std::string& question) {
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

    void fetchWeather(const std::string& place) {
        onActivity("Checking the weather...");
        onSentence("Let me check.");
        const std::string text = guarded([&] { return getWeather(endpoints, user, place, cancel); });
        logLine("weather(%s) -> %zu chars", place.c_str(), text.size());
        appendToolExchange(messages, "pre_wx", "get_weather", {{"place", place}},
                           text + "\nAnswer briefly from this data, in plain spoken sentences.");
        onActivity("Thinking...");
    }

    void searchWeb(const std::string& query) {
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
};

}  // namespace

void preRoute(const Endpoints& endpoints, const UserProfile& user, const std::string& question,
              json& messages, const std::function<void(const std::string&)>& onSentence,
              const StatusFn& onActivity, CancelFlag* cancel) {
    Routes{endpoints, user, messages, onSentence, onActivity, cancel}.run(question);
}
