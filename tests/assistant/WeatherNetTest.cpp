// Asking for the weather, against services on the loopback interface.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "assistant/Weather.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "foundation/Settings.h"
#include "support/LoopbackServer.h"

namespace {

using Lines = std::vector<std::string>;

const char* const tail =
    " (source: Open-Meteo). Right now 61 F (feels like 60), overcast, wind 7 mph. Today: rain, high 70, low "
    "-4, "
    "0% chance of precipitation.";
const char* const forecastKeys =
    "&current=temperature_2m,apparent_temperature,weather_code,wind_speed_10m&daily=weather_code,"
    "temperature_2m_max,temperature_2m_min,precipitation_probability_max&temperature_unit=fahrenheit"
    "&wind_speed_unit=mph&timezone=auto&forecast_days=3";

/// The log's lines without their times.
Lines logged() {
    std::string bytes;
    Lines lines;
    if (!readWholeFile(joinPath(dataFolder(), "velu.log"), bytes)) return lines;
    for (size_t at = 0, end = 0; (end = bytes.find('\n', at)) != std::string::npos; at = end + 1)
        lines.push_back(bytes.substr(at + 9, end - at - 9));
    return lines;
}

/// An address on which nobody listens.
std::string nowhere() {
    return LoopbackServer(std::vector<Reply>{}).url();
}

/// All services on one server; what each answers is the test's choice.
class WeatherNet : public testing::Test {
protected:
    Reply answer(const Received& request) {
        const auto begins = [&](const char* path) { return request.path.rfind(path, 0) == 0; };
        if (begins("/v1/search?")) return places;
        if (begins("/v1/forecast?")) return forecast;
        return begins("/json/") ? ipLocation : makeReply(404, "");
    }

    std::string weather(const std::string& place) { return getWeather(endpoints, place, &cancel); }

    /// The paths of the requests so far.
    Lines paths() const {
        Lines all;
        for (const Received& request : server.requests())
            all.push_back(request.path);
        return all;
    }

    static Endpoints allAt(const std::string& url) {
        Endpoints all;
        all.geocoding = all.forecast = all.ipLocation = url;
        return all;
    }

    const std::atomic<bool> cancel = false;
    Reply places = makeReply(200, R"({"results":[
        {"name":"Paris","admin1":"Ile-de-France","country":"France","latitude":48.85341,"longitude":2.3488},
        {"name":"Paris","admin1":"Texas","country":"United States","latitude":33.66094,"longitude":-95.55551}]})");
    Reply forecast = makeReply(200, R"({"current":{"temperature_2m":61.4,"apparent_temperature":59.6,
        "weather_code":3,"wind_speed_10m":7.2},"daily":{"time":["a"],"weather_code":[61],
        "temperature_2m_max":[70.2],"temperature_2m_min":[-3.7],"precipitation_probability_max":[null]}})");
    Reply ipLocation = makeReply(200, R"({"status":"fail"})");
    LoopbackServer server{[this](const Received& request) { return answer(request); }};
    Endpoints endpoints = allAt(server.url());
};

TEST_F(WeatherNet, TheWeatherOfANamedPlace) {
    EXPECT_EQ(weather("Paris"), std::string("Weather for Paris, Ile-de-France") + tail);
    EXPECT_EQ(weather("Paris, texas"), std::string("Weather for Paris, Texas") + tail);
    EXPECT_EQ(paths(),
              (Lines{"/v1/search?count=5&language=en&name=Paris",
                     std::string("/v1/forecast?latitude=48.8534&longitude=2.3488") + forecastKeys,
                     "/v1/search?count=5&language=en&name=Paris",
                     std::string("/v1/forecast?latitude=33.6609&longitude=-95.5555") + forecastKeys}));
    for (const Received& request : server.requests()) {
        EXPECT_EQ(request.method, "GET");
        EXPECT_EQ(request.header("Accept-Encoding"), "identity");
    }
    EXPECT_EQ(weather("S\u00E3o Tom\u00E9 & co,zz").rfind("Weather for Paris, Ile-de-France", 0), 0u);
    EXPECT_EQ(paths().at(4), "/v1/search?count=5&language=en&name=S%C3%A3o+Tom%C3%A9+%26+co");
    EXPECT_EQ(Settings::instance().locName.get(), "") << "asking about a place isn't living there";
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(WeatherNet, APlaceThatIsNotFoundIsNamed) {
    const Reply answers[] = {makeReply(200, "{\"results\":[]}"), makeReply(200, "{}"),
                             makeReply(200, "<html>"), makeReply(500, places.chunks.at(0).bytes)};
    for (const Reply& reply : answers) {
        places = reply;
        EXPECT_EQ(weather("Atlantis, Sea"), "Couldn't find a place called Atlantis, Sea.");
    }
    endpoints.geocoding = nowhere();
    EXPECT_EQ(weather("Atlantis"), "Couldn't find a place called Atlantis.");
    EXPECT_EQ(server.requests().size(), std::size(answers)) << "no forecast for it";
    places = makeReply(200, R"({"results":[{"name":null}]})");
    endpoints.geocoding = server.url();
    EXPECT_THROW(weather("Atlantis"), nlohmann::json::exception);
}

TEST_F(WeatherNet, TheUsersOwnPlaceIsThatOfTheSettings) {
    Settings& settings = Settings::instance();
    settings.locName.set("Home, Sweet");
    settings.locLat = -33.86788;
    settings.locLon = 151.0;
    EXPECT_EQ(weather(""), std::string("Weather for Home, Sweet") + tail);
    EXPECT_EQ(paths(),
              Lines{std::string("/v1/forecast?latitude=-33.8679&longitude=151.0000") + forecastKeys});
}

TEST_F(WeatherNet, TheNetworkAddressTellsTheUsersPlace) {
    const char* const unknown = "I don't know where you are. Ask the user for their city.";
    const Reply answers[] = {ipLocation,
                             makeReply(200, R"({"city":"Oslo","regionName":"Oslo","lat":59.9,"lon":10.7})"),
                             makeReply(200, R"({"status":"Success","city":"Oslo"})"),
                             makeReply(200, R"({"status":true,"city":"Oslo"})"),
                             makeReply(200, "\"success\""),
                             makeReply(200, "{"),
                             makeReply(429, R"({"status":"success","city":"Oslo"})")};
    for (const Reply& reply : answers) {
        ipLocation = reply;
        EXPECT_EQ(weather(""), unknown) << reply.chunks.at(0).bytes;
    }
    EXPECT_EQ(server.requests().size(), std::size(answers)) << "no forecast for it";
    ipLocation = makeReply(200, R"({"status":"success","city":"Oslo","regionName":"Oslo","lat":"north"})");
    EXPECT_THROW(weather(""), nlohmann::json::exception);
    endpoints.ipLocation = nowhere();
    EXPECT_EQ(weather(""), unknown);
    EXPECT_EQ(Settings::instance().locName.get(), "");
    EXPECT_EQ(logged(), Lines{});

    endpoints.ipLocation = server.url();
    ipLocation = makeReply(
        200, R"({"status":"success","city":"Bergen","regionName":"Vestland","lat":60.39,"lon":5.32})");
    EXPECT_EQ(weather(""), std::string("Weather for Bergen, Vestland") + tail);
    const std::vector<Received> requests = server.requests();
    const Received& asked = requests.at(requests.size() - 2);
    EXPECT_EQ(asked.path, "/json/?fields=status,city,regionName,lat,lon");
    EXPECT_EQ(asked.header("Accept-Encoding"), "gzip, deflate");
    EXPECT_EQ(requests.back().path,
              std::string("/v1/forecast?latitude=60.3900&longitude=5.3200") + forecastKeys);
    EXPECT_EQ(Settings::instance().locName.get(), "Bergen, Vestland");
    EXPECT_EQ(Settings::instance().locLat, 60.39);
    EXPECT_EQ(Settings::instance().locLon, 5.32);
    EXPECT_FALSE(isFile(joinPath(dataFolder(), "settings.json"))) << "it holds for this run only";
    EXPECT_EQ(logged(), Lines{"location from IP: Bergen, Vestland"});

    // It isn't looked up again.
    EXPECT_EQ(weather(""), std::string("Weather for Bergen, Vestland") + tail);
    EXPECT_EQ(server.requests().size(), requests.size() + 1);
}

TEST_F(WeatherNet, AWeatherServiceThatFailsIsLogged) {
    const std::string sentence = "The weather service didn't answer.";
    forecast = makeReply(400, R"({"error":true,"reason":"no"})");
    EXPECT_EQ(weather("Paris"), sentence);
    forecast = makeReply(200, "<html>" + std::string(300, 'x'));
    EXPECT_EQ(weather("Paris"), sentence);
    forecast = makeReply(200, R"({"daily":{}})");
    EXPECT_EQ(weather("Paris"), sentence);
    endpoints.forecast = nowhere();
    EXPECT_EQ(weather("Paris"), sentence);
    EXPECT_EQ(logged(), (Lines{R"(weather failed: status=400 err= body={"error":true,"reason":"no"})",
                               "weather failed: status=200 err= body=<html>" + std::string(194, 'x'),
                               R"(weather failed: status=200 err= body={"daily":{}})",
                               "weather failed: status=0 err=request failed (7) body="}));
    endpoints.forecast = server.url();
    forecast = makeReply(200, R"({"current":{"temperature_2m":null}})");
    EXPECT_THROW(weather("Paris"), nlohmann::json::exception);
}

}  // namespace
