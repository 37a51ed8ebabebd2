#include <algorithm>
#include <ctime>
#include <exception>

#include "assistant/Assistant.h"
#include "assistant/Html.h"
#include "assistant/PageReader.h"
#include "assistant/PreRouting.h"
#include "assistant/ToolSchemas.h"
#include "assistant/Weather.h"
#include "assistant/WebSearch.h"
#include "foundation/LocalTime.h"
#include "foundation/Settings.h"
#include "foundation/Text.h"
#include "foundation/Ticks.h"
#include "platform/system.h"

using nlohmann::json;

namespace {

constexpr double longestTimer = 1440;  // minutes: a day

/// The text at `key`, empty when it is missing. Throws when it is something else, which the model gets to
/// read.
std::string textOf(const json& arguments, const char* key) {
    return arguments.value(key, std::string());
}

}  // namespace

json Assistant::toolSchemas() const {
    return toolSchemasFor(Settings::instance().webResearch, learnFace != nullptr);
}

std::string Assistant::dispatchTool(const std::string& name, const json& arguments,
                                    const StatusFn& onActivity, CancelFlag* cancel) {
    try {
        return runTool(name, arguments, onActivity, cancel);
    } catch (const std::exception& error) {
        return std::string("Error: ") + error.what();
    }
}

std::string Assistant::runTool(const std::string& name, const json& arguments, const StatusFn& onActivity,
                               CancelFlag* cancel) {
    if (name == "web_search") {
        const std::string query = textOf(arguments, "query");
        if (query.empty()) return "Error: missing query.";
        onActivity("Searching the web: " + query);
        return WebSearch::search(endpoints, query, cancel);
    }
    if (name == "read_webpage") {
        const std::string url = textOf(arguments, "url");
        onActivity("Reading " + shortUrl(url));
        return PageReader::read(url, cancel, lastQuestion);
    }
    if (name == "remember") return remember(textOf(arguments, "fact"));
    if (name == "learn_face") {
        return learnFace ? learnFace(textOf(arguments, "name")) : "Face recognition is off.";
    }
    if (name == "get_weather") {
        onActivity("Checking the weather...");
        return getWeather(endpoints, textOf(arguments, "place"), cancel);
    }
    if (name == "set_location") return setLocation(textOf(arguments, "place"), cancel);
    if (name == "get_datetime") return formatTime(localTime(std::time(nullptr)), "%A, %B %d, %Y, %I:%M %p");
    if (name == "set_timer") return setTimer(arguments);
    if (name == "open_url") {
        const std::string url = textOf(arguments, "url");
        if (!isHttpUrl(url)) return "Error: only http(s) URLs can be opened.";
        openOnDesktop(url);
        return "Opened.";
    }
    return "Error: unknown tool " + name;
}

std::string Assistant::remember(const std::string& fact) {
    if (fact.empty()) return "Error: missing fact.";
    const std::string folded = toLowerAscii(fact);
    const std::scoped_lock lock(mutex);
    const bool known = std::any_of(memory.facts.begin(), memory.facts.end(), [&](const std::string& present) {
        return toLowerAscii(present) == folded;
    });
    if (known) return "Already remembered.";
    memory.facts.push_back(fact);
    saveMemory();
    return "Saved.";
}

std::string Assistant::setLocation(const std::string& place, CancelFlag* cancel) const {
    std::string name;
    double latitude = 0;
    double longitude = 0;
    if (!geocodePlace(endpoints, place, name, latitude, longitude, cancel))
        return "Couldn't find that place.";
    Settings& settings = Settings::instance();
    settings.locName.set(name);
    settings.locLat = latitude;
    settings.locLon = longitude;
    settings.save();
    return "Saved. The user's location is " + name + ".";
}

std::string Assistant::setTimer(const json& arguments) {
    const double minutes = arguments.value("minutes", 0.0);
    if (!(minutes > 0 && minutes <= longestTimer)) return "Error: minutes must be between 0 and 1440.";
    std::string label = arguments.value("label", "Time's up");
    const std::scoped_lock lock(mutex);
    timers.push_back({tickCount() + static_cast<uint64_t>(minutes * 60000), std::move(label)});
    return "Timer set for " + std::to_string(static_cast<int>(minutes)) + " minutes.";
}

std::vector<std::string> Assistant::takeDueReminders(uint64_t now) {
    std::vector<std::string> due;
    const std::scoped_lock lock(mutex);
    for (auto timer = timers.begin(); timer != timers.end();) {
        if (timer->dueTick > now) {
            ++timer;
            continue;
        }
        due.push_back(std::move(timer->label));
        timer = timers.erase(timer);
    }
    return due;
}
