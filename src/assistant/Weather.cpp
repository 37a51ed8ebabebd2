#include "assistant/Weather.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <nlohmann/json.hpp>

#include "assistant/WebCoding.h"
#include "foundation/HttpClient.h"
#include "foundation/Json.h"
#include "foundation/Log.h"
#include "foundation/Text.h"

using nlohmann::json;

namespace {

/// Returns the number with this many decimals and a decimal point, whatever the locale.
std::string decimal(double value, int decimals) {
    std::array<char, 400> buffer{};  // room for the largest double
    const auto end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed, decimals)
            .ptr;
    return {buffer.data(), end};
}

HttpResponse get(const std::string& url, bool plain, int32_t receiveTimeoutMs, CancelFlag* cancel) {
    HttpRequest request;
    if (plain) request.headers = {{"Accept-Encoding", "identity"}};
    request.connectTimeoutMs = 6000;
    request.receiveTimeoutMs = receiveTimeoutMs;
    request.cancel = cancel;
    request.startsCancelled = false;
    return HttpClient::send(url, request);
}

std::string forecastUrl(const Endpoints& endpoints, const Place& place) {
    return endpoints.forecast + "/v1/forecast?latitude=" + decimal(place.latitude, 4) +
           "&longitude=" + decimal(place.longitude, 4) +
           "&current=temperature_2m,apparent_temperature,weather_code,wind_speed_10m"
           "&daily=weather_code,temperature_2m_max,temperature_2m_min,precipitation_probability_max"
           "&temperature_unit=fahrenheit&wind_speed_unit=mph&timezone=auto&forecast_days=3";
}

/// Returns the entry of a day in one of the forecast's arrays; 0 when the array is missing or shorter.
json dayValue(const json& daily, const char* key, size_t day) {
    const json values = daily.value(key, json::array());
    return day < values.size() ? values.at(day) : json(0);
}

double dayNumber(const json& daily, const char* key, size_t day) {
    return dayValue(daily, key, day).get<double>();
}

int whole(double value) {
    return static_cast<int>(std::clamp(value, -1e9, 1e9));
}

std::string dayText(const json& daily, size_t day) {
    constexpr const char* labels[] = {"Today", "Tomorrow", "Day after"};
    // Far from any station the service gives no probability.
    const json chance = dayValue(daily, "precipitation_probability_max", day);
    const int percent = chance.is_null() ? 0 : whole(chance.get<double>());
    return std::string(" ") + labels[day] + ": " +
           weatherDescription(whole(dayNumber(daily, "weather_code", day))) + ", high " +
           decimal(dayNumber(daily, "temperature_2m_max", day), 0) + ", low " +
           decimal(dayNumber(daily, "temperature_2m_min", day), 0) + ", " + std::to_string(percent) +
           "% chance of precipitation.";
}

}  // namespace

std::string getWeather(const Endpoints& endpoints, const UserProfile& user, const std::string& place,
                       CancelFlag* cancel) {
    Place found;
    if (place.empty()) {
        found = user.choices().place;
        if (found.name.empty() && locateByIp(endpoints, found, cancel))
            user.keepPlace(found, PlaceLifetime::thisRun);
        if (found.name.empty()) return "I don't know where you are. Ask the user for their city.";
    } else if (!geocodePlace(endpoints, place, found, cancel)) {
        return "Couldn't find a place called " + place + ".";
    }
    const HttpResponse response = get(forecastUrl(endpoints, found), true, 10000, cancel);
    std::string text = response.status == 200 ? forecastText(response.body, found.name) : std::string();
    if (!text.empty()) return text;
    logLine("weather failed: status=%d err=%s body=%.200s", response.status, response.error.c_str(),
            response.body.c_str());
    return "The weather service didn't answer.";
}

std::string forecastText(const std::string& body, const std::string& placeName) {
    const json forecast = parseJson(body);
    if (!forecast.is_object() || !forecast.contains("current")) return {};
    const json& current = forecast.at("current");
    std::string text = "Weather for " + placeName + " (source: Open-Meteo). Right now " +
                       decimal(current.value("temperature_2m", 0.0), 0) + " F (feels like " +
                       decimal(current.value("apparent_temperature", 0.0), 0) + "), " +
                       weatherDescription(whole(current.value("weather_code", 0.0))) + ", wind " +
                       decimal(current.value("wind_speed_10m", 0.0), 0) + " mph.";
    const json daily = forecast.value("daily", json::object());
    const size_t days = std::min<size_t>(daily.value("time", json::array()).size(), 3);
    for (size_t day = 0; day < days; ++day)
        text += dayText(daily, day);
    return text;
}

std::string cityOf(const std::string& place) {
    return place.substr(0, place.find(','));
}

bool geocodePlace(const Endpoints& endpoints, const std::string& place, Place& found, CancelFlag* cancel) {
    const std::string url =
        endpoints.geocoding + "/v1/search?count=5&language=en&name=" + formEncode(cityOf(place));
    const HttpResponse response = get(url, true, 8000, cancel);
    return response.status == 200 && choosePlace(response.body, place, found);
}

bool choosePlace(const std::string& body, const std::string& place, Place& found) {
    const json answer = parseJson(body);
    if (!answer.is_object()) return false;
    const json results = answer.value("results", json::array());
    if (results.empty()) return false;

    const size_t comma = place.find(',');
    const std::string hint =
        comma == std::string::npos ? std::string() : toLowerAscii(place.substr(comma + 1));
    const std::string wanted = hint.substr(std::min(hint.find_first_not_of(' '), hint.size()));
    const auto fits = [&](const json& entry) {
        return toLowerAscii(entry.value("admin1", "")).find(wanted) != std::string::npos ||
               toLowerAscii(entry.value("country", "")).find(wanted) != std::string::npos;
    };
    const auto fitting =
        wanted.empty() ? results.begin() : std::find_if(results.begin(), results.end(), fits);
    // A hint can pick among the results but never makes the look-up fail.
    const json& entry = fitting == results.end() ? results.front() : *fitting;
    found.name = entry.value("name", cityOf(place));
    const std::string region = entry.value("admin1", "");
    if (!region.empty()) found.name += ", " + region;
    found.latitude = entry.value("latitude", 0.0);
    found.longitude = entry.value("longitude", 0.0);
    return true;
}

bool locateByIp(const Endpoints& endpoints, Place& found, CancelFlag* cancel) {
    const HttpResponse response =
        get(endpoints.ipLocation + "/json/?fields=status,city,regionName,lat,lon", false, 8000, cancel);
    const json answer = parseJson(response.body);
    if (response.status != 200 || textAt(answer, "status") != "success") return false;
    found.name = answer.value("city", "") + ", " + answer.value("regionName", "");
    found.latitude = answer.value("lat", 0.0);
    found.longitude = answer.value("lon", 0.0);
    logLine("location from IP: %s", found.name.c_str());
    return true;
}

const char* weatherDescription(int code) {
    if (code == 0) return "clear";
    if (code < 3) return "partly cloudy";
    if (code == 3) return "overcast";
    if (code == 45 || code == 48) return "foggy";
    if (code >= 51 && code <= 57) return "drizzle";
    if (code >= 61 && code <= 67) return "rain";
    if (code >= 71 && code <= 77) return "snow";
    if (code >= 80 && code <= 82) return "rain showers";
    if (code == 85 || code == 86) return "snow showers";
    if (code >= 95) return "thunderstorms";
    return "mixed";
}
