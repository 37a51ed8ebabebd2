#include "assistant/Weather.h"

#include "assistant/TextCases.h"

using nlohmann::json;

namespace {

const std::string now =
    "Weather for Oslo (source: Open-Meteo). Right now 62 F (feels like 60), partly cloudy, wind 8 mph.";

/// A whole forecast with this value in place of its own.
json forecastWith(const char* place, const json& value) {
    json forecast = json::parse(readTestData("forecast.json"));
    forecast[json::json_pointer(place)] = value;
    return forecast;
}

std::string textFor(const json& forecast) {
    return forecastText(forecast.dump(), "Oslo");
}

TEST(WeatherText, TellsTheForecast) {
    const std::string today = " Today: clear, high 64, low 48, 12% chance of precipitation.";
    const std::string days = today +
                             " Tomorrow: rain, high 32, low 0, 47% chance of precipitation."
                             " Day after: thunderstorms, high -1, low -12, 0% chance of precipitation.";
    EXPECT_EQ(forecastText(readTestData("forecast.json"), "Oslo"), now + days);
    json four = json::parse(readTestData("forecast.json"));
    for (json& values : four["daily"])
        values.push_back(1);
    EXPECT_EQ(textFor(four), now + days);
    EXPECT_EQ(textFor(forecastWith("/daily/time", {"2031-05-03"})), now + today);
    EXPECT_EQ(textFor(forecastWith("/daily", json::object())), now);
    EXPECT_EQ(textFor(forecastWith("/daily", {{"weather_code", {1}}})), now);
    EXPECT_EQ(textFor({{"current", json::object()}}),
              "Weather for Oslo (source: Open-Meteo). Right now 0 F (feels like 0), clear, wind 0 mph.");
}

TEST(WeatherText, WhatIsNoForecastGivesNone) {
    for (const char* body : {"", "{", "null", "[]", "\"current\"", "{}", "{\"daily\":{}}", "<html></html>"})
        EXPECT_EQ(forecastText(body, "Oslo"), "") << body;
}

TEST(WeatherText, AnswersWithoutABottomAreNone) {
    const std::string deep = std::string(500000, '[') + std::string(500000, ']');
    EXPECT_EQ(forecastText("{\"current\":{},\"daily\":{\"time\":" + deep + "}}", "here"), "");
    Place found;
    EXPECT_FALSE(choosePlace("{\"results\":[{\"name\":\"x\",\"y\":" + deep + "}]}", "x", found));
}

TEST(WeatherText, ValuesOfAWrongTypeThrow) {
    for (const json& row : textCases("forecastText")) {
        EXPECT_THROW(textFor(forecastWith(row[0].get<std::string>().c_str(), row[1])), json::exception)
            << row;
    }
}

TEST(WeatherText, TheHintPicksAmongThePlaces) {
    const std::string results = readTestData("places.json");
    expectCases("choosePlace", [&](const std::string& place) {
        Place found{"", -1, -1};
        EXPECT_TRUE(choosePlace(results, place, found)) << place;
        return json::array({found.name, found.latitude, found.longitude});
    });
}

TEST(WeatherText, AnAnswerWithoutPlacesIsNone) {
    Place found;
    for (const char* body : {"", "{", "[]", "null", "{}", R"({"results":[]})", R"({"results":null})"})
        EXPECT_FALSE(choosePlace(body, "Paris", found)) << body;
    for (const char* body : {R"({"results":[5]})", R"({"results":"Paris"})", R"({"results":[{"name":5}]})",
                             R"({"results":[{"latitude":"48"}]})", R"({"results":[{"admin1":null}]})"}) {
        EXPECT_THROW((void)choosePlace(body, "Paris", found), json::exception) << body;
    }
}

TEST(WeatherText, CodesHaveWords) {
    for (const json& row : textCases("weatherDescription")) {
        for (const int code : row[1])
            EXPECT_EQ(weatherDescription(code), row[0]) << code;
    }
}

}  // namespace
