#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "assistant/Weather.h"

using nlohmann::json;

namespace {

const json current = {{"time", "2031-05-03T11:00"},
                      {"temperature_2m", 61.5},
                      {"apparent_temperature", 60.49},
                      {"weather_code", 2},
                      {"wind_speed_10m", 7.6}};
const std::string now =
    "Weather for Oslo (source: Open-Meteo). Right now 62 F (feels like 60), partly cloudy, wind 8 mph.";

json threeDays() {
    return {{"time", {"2031-05-03", "2031-05-04", "2031-05-05"}},
            {"weather_code", {0, 61, 95}},
            {"temperature_2m_max", {64.4, 31.6, -0.6}},
            {"temperature_2m_min", {48.5, 0.4, -12.5}},
            {"precipitation_probability_max", {0, 47, nullptr}}};
}

std::string textFor(const json& forecast) {
    return forecastText(forecast.dump(), "Oslo");
}

TEST(WeatherText, TellsTheForecast) {
    EXPECT_EQ(textFor({{"current", current}, {"daily", threeDays()}}),
              now +
                  " Today: clear, high 64, low 48, 0% chance of precipitation."
                  " Tomorrow: rain, high 32, low 0, 47% chance of precipitation."
                  " Day after: thunderstorms, high -1, low -12, 0% chance of precipitation.");

    EXPECT_EQ(textFor({{"current", current}}), now);
    EXPECT_EQ(textFor({{"current", current}, {"daily", json::object()}}), now);
    EXPECT_EQ(textFor({{"current", current}, {"daily", {{"weather_code", {1}}}}}), now);
    EXPECT_EQ(textFor({{"current", json::object()}}),
              "Weather for Oslo (source: Open-Meteo). Right now 0 F (feels like 0), clear, wind 0 mph.");

    json one = threeDays();
    one["time"] = {"2031-05-03"};
    one["precipitation_probability_max"] = {12.9};
    EXPECT_EQ(textFor({{"current", current}, {"daily", one}}),
              now + " Today: clear, high 64, low 48, 12% chance of precipitation.");
    json four = threeDays();
    for (auto& [key, values] : four.items())
        values.push_back(key == "time" ? json("2031-05-06") : json(1));
    EXPECT_EQ(textFor({{"current", current}, {"daily", four}}),
              textFor({{"current", current}, {"daily", threeDays()}}));
}

TEST(WeatherText, WhatIsNoForecastGivesNone) {
    for (const char* body : {"", "{", "null", "[]", "\"current\"", "{}", "{\"daily\":{}}", "<html></html>"})
        EXPECT_EQ(forecastText(body, "Oslo"), "") << body;
}

TEST(WeatherText, AnswersWithoutABottomAreNone) {
    const std::string deep = std::string(500000, '[') + std::string(500000, ']');
    EXPECT_EQ(forecastText("{\"current\":{},\"daily\":{\"time\":" + deep + "}}", "here"), "");
    std::string name;
    double latitude = 0;
    double longitude = 0;
    const std::string places = "{\"results\":[{\"name\":\"x\",\"y\":" + deep + "}]}";
    EXPECT_FALSE(choosePlace(places, "x", name, latitude, longitude));
}

TEST(WeatherText, ValuesOfAWrongTypeThrow) {
    const auto withCurrent = [](const char* key, const json& value) {
        json changed = current;
        changed[key] = value;
        return json({{"current", changed}});
    };
    const auto withDaily = [](const char* key, const json& value) {
        json changed = threeDays();
        changed[key] = value;
        return json({{"current", current}, {"daily", changed}});
    };
    const json cases[] = {{{"current", nullptr}},
                          {{"current", json::array({1})}},
                          withCurrent("temperature_2m", nullptr),
                          withCurrent("weather_code", "2"),
                          withCurrent("wind_speed_10m", json::array()),
                          {{"current", current}, {"daily", nullptr}},
                          {{"current", current}, {"daily", "none"}},
                          withDaily("temperature_2m_max", {1, nullptr, 3}),
                          withDaily("temperature_2m_min", {1, "2", 3}),
                          withDaily("weather_code", {nullptr, 2, 3}),
                          withDaily("precipitation_probability_max", {"5", 2, 3}),
                          withDaily("temperature_2m_max", "warm")};
    for (const json& forecast : cases)
        EXPECT_THROW(textFor(forecast), json::exception) << forecast;
}

TEST(WeatherText, TheHintPicksAmongThePlaces) {
    const std::string results = R"({"results":[
        {"name":"Paris","admin1":"Ile-de-France","country":"France","latitude":48.85341,"longitude":2.3488},
        {"name":"Paris","admin1":"Texas","country":"United States","latitude":33.66094,"longitude":-95.55551},
        {"name":"Paris","admin1":"Kentucky","country":"United States","latitude":38.2098,"longitude":-84.25299},
        {"name":"Paris","country":"Denmark","latitude":56.5},
        {"admin1":"","country":"Iceland"}]})";
    struct Case {
        const char* place;
        const char* name;
        double latitude;
        double longitude;
    };
    const Case cases[] = {
        {"Paris", "Paris, Ile-de-France", 48.85341, 2.3488},
        {"Paris,", "Paris, Ile-de-France", 48.85341, 2.3488},
        {"Paris,   ", "Paris, Ile-de-France", 48.85341, 2.3488},
        {"Paris, Texas", "Paris, Texas", 33.66094, -95.55551},
        {"Paris,TEX", "Paris, Texas", 33.66094, -95.55551},
        {"Paris, united states", "Paris, Texas", 33.66094, -95.55551},
        {"Paris, kentucky", "Paris, Kentucky", 38.2098, -84.25299},
        {"Paris, Texas, United States", "Paris, Ile-de-France", 48.85341, 2.3488},
        {"Paris, Atlantis", "Paris, Ile-de-France", 48.85341, 2.3488},
        {"Paris, Denmark", "Paris", 56.5, 0},
        {"Lutetia, iceland", "Lutetia", 0, 0},
    };
    for (const Case& item : cases) {
        std::string name;
        double latitude = -1;
        double longitude = -1;
        EXPECT_TRUE(choosePlace(results, item.place, name, latitude, longitude)) << item.place;
        EXPECT_EQ(name, item.name) << item.place;
        EXPECT_EQ(latitude, item.latitude) << item.place;
        EXPECT_EQ(longitude, item.longitude) << item.place;
    }
}

TEST(WeatherText, AnAnswerWithoutPlacesIsNone) {
    std::string name = "untouched";
    double latitude = 1;
    double longitude = 2;
    for (const char* body : {"", "{", "[]", "null", "{}", R"({"results":[]})", R"({"results":null})"})
        EXPECT_FALSE(choosePlace(body, "Paris", name, latitude, longitude)) << body;
    for (const char* body : {R"({"results":[5]})", R"({"results":"Paris"})", R"({"results":[{"name":5}]})",
                             R"({"results":[{"latitude":"48"}]})", R"({"results":[{"admin1":null}]})"}) {
        EXPECT_THROW((void)choosePlace(body, "Paris", name, latitude, longitude), json::exception) << body;
    }
}

TEST(WeatherText, CodesHaveWords) {
    const std::pair<const char*, std::vector<int>> cases[] = {
        {"clear", {0}},
        {"partly cloudy", {-1, 1, 2}},
        {"overcast", {3}},
        {"foggy", {45, 48}},
        {"drizzle", {51, 55, 57}},
        {"rain", {61, 66, 67}},
        {"snow", {71, 75, 77}},
        {"rain showers", {80, 81, 82}},
        {"snow showers", {85, 86}},
        {"thunderstorms", {95, 96, 99, 1000}},
        {"mixed", {4, 44, 46, 47, 49, 50, 58, 60, 68, 70, 78, 79, 83, 84, 87, 90, 94}},
    };
    for (const auto& [words, codes] : cases) {
        for (const int code : codes)
            EXPECT_STREQ(weatherDescription(code), words) << code;
    }
}

}  // namespace
