#include "assistant/QuestionWords.h"

#include <algorithm>
#include <string_view>

#include "assistant/Html.h"
#include "foundation/Text.h"

namespace {

constexpr size_t npos = std::string::npos;
constexpr size_t mostUrls = 2;
constexpr size_t shortestUrl = 11;  // bytes; less is a scheme and hardly a host
constexpr std::string_view blanks = " \t\n\v\f\r";

constexpr std::string_view weatherWords[] = {"weather", "forecast", "temperature outside", "is it raining"};
constexpr std::string_view placeSeparators[] = {" in ", " for "};
constexpr std::string_view placeEnds[] = {" today",     " tomorrow",  " tonight",
                                          " right now", " this week", " this weekend"};
constexpr std::string_view noPlaces[] = {"my area", "my location", "the area", "here"};
constexpr std::string_view wakePrefixes[] = {"hey velu, ", "hey velu ", "velu, ", "velu "};
constexpr std::string_view searchWords[] = {"latest",
                                            "newest",
                                            "most recent",
                                            "recently",
                                            "current",
                                            "currently",
                                            "right now",
                                            "today",
                                            "tonight",
                                            "tomorrow",
                                            "yesterday",
                                            "this week",
                                            "this month",
                                            "this year",
                                            "last night",
                                            "news",
                                            "headline",
                                            "weather",
                                            "forecast",
                                            "temperature",
                                            "score",
                                            "who won",
                                            "price of",
                                            "stock",
                                            "how much is",
                                            "how much does",
                                            "release date",
                                            "when does",
                                            "when is the next",
                                            "search",
                                            "look up",
                                            "google",
                                            "find out",
                                            "research",
                                            "who is the president",
                                            "who is the ceo",
                                            "standings",
                                            "schedule",
                                            "trending",
                                            "update on"};

template <typename Words>
bool holdsAny(const std::string& question, const Words& words) {
    const std::string lower = toLowerAscii(question);
    return std::any_of(std::begin(words), std::end(words),
                       [&](std::string_view word) { return lower.find(word) != npos; });
}

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

}  // namespace

std::vector<std::string> linkedUrls(const std::string& question) {
    std::vector<std::string> urls;
    for (size_t at = 0; urls.size() < mostUrls && (at = question.find("http", at)) != npos;) {
        if (!isHttpUrl(std::string_view(question).substr(at))) {
            at += 4;
            continue;
        }
        const size_t end =
            std::min(question.find_first_of(std::string(blanks) + "\"<>", at), question.size());
        std::string url = question.substr(at, end - at);
        url.erase(url.find_last_not_of(".,;:!?)]'") + 1);
        if (url.size() >= shortestUrl) urls.push_back(std::move(url));
        at = end;
    }
    return urls;
}

bool asksForWeather(const std::string& question) {
    return holdsAny(question, weatherWords);
}

std::string weatherPlace(const std::string& question) {
    const std::string lower = toLowerAscii(question);
    std::string place;
    for (const std::string_view separator : placeSeparators) {
        const size_t at = lower.find(separator);
        if (at == npos) continue;
        place = question.substr(at + separator.size());
        break;
    }
    place.erase(std::min(place.find_first_of("?.!"), place.size()));
    for (const std::string_view end : placeEnds) {
        if (endsWith(toLowerAscii(place), end)) place.erase(place.size() - end.size());
    }
    const bool isNoPlace = std::find(std::begin(noPlaces), std::end(noPlaces), place) != std::end(noPlaces);
    return isNoPlace ? std::string() : place;
}

bool needsSearch(const std::string& question) {
    return holdsAny(question, searchWords);
}

std::string searchQuery(const std::string& question, int year) {
    std::string query = question;
    const std::string lower = toLowerAscii(question);
    for (const std::string_view prefix : wakePrefixes) {
        if (lower.compare(0, prefix.size(), prefix) != 0) continue;
        query.erase(0, prefix.size());
        break;
    }
    query.erase(query.find_last_not_of(" \"?") + 1);
    query.erase(0, std::min(query.find_first_not_of(" \""), query.size()));
    // Any year of this century holds these digits; a question about the latest of anything means this year's.
    if (query.find("20") == npos) query += " " + std::to_string(year);
    return query;
}

std::string shortUrl(const std::string& url) {
    return url.size() <= 60 ? url : cutUtf8(url, 57) + "...";
}
