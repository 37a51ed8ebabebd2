// Asking for the weather, with the services on a loopback server.

#include "assistant/Weather.h"

#include "assistant/TextCases.h"
#include "assistant/WebFixture.h"

namespace {

const std::string tail =
    " (source: Open-Meteo). Right now 62 F (feels like 60), partly cloudy, wind 8 mph."
    " Today: clear, high 64, low 48, 12% chance of precipitation."
    " Tomorrow: rain, high 32, low 0, 47% chance of precipitation."
    " Day after: thunderstorms, high -1, low -12, 0% chance of precipitation.";

std::string forecastPath(const std::string& latitude, const std::string& longitude) {
    return "/v1/forecast?latitude=" + latitude + "&longitude=" + longitude +
           "&current=temperature_2m,apparent_temperature,weather_code,wind_speed_10m&daily=weather_code,"
           "temperature_2m_max,temperature_2m_min,precipitation_probability_max&temperature_unit=fahrenheit"
           "&wind_speed_unit=mph&timezone=auto&forecast_days=3";
}

class WeatherNet : public WebFixture {
protected:
    WeatherNet() {
        answers = {{"/v1/search?", makeReply(200, readTestData("places.json"))},
                   {"/v1/forecast?", makeReply(200, readTestData("forecast.json"))},
                   {"/json/", makeReply(200, R"({"status":"fail"})")}};
        user.choices = [this] { return choices; };
        user.keepPlace = [this](const Place& place, PlaceLifetime lifetime) {
            EXPECT_EQ(lifetime, PlaceLifetime::thisRun);
            choices.place = place;
        };
    }

    std::string weather(const std::string& place) { return getWeather(endpoints, user, place, &cancel); }

    UserChoices choices;
    UserProfile user;
};

TEST_F(WeatherNet, TheWeatherOfANamedPlace) {
    EXPECT_EQ(weather("Paris"), "Weather for Paris, Ile-de-France" + tail);
    EXPECT_EQ(weather("Paris, texas"), "Weather for Paris, Texas" + tail);
    EXPECT_EQ(weather("S\u00E3o Tom\u00E9 & co,zz"), "Weather for Paris, Ile-de-France" + tail);
    const std::string search = "/v1/search?count=5&language=en&name=";
    const std::string paris = forecastPath("48.8534", "2.3488");
    EXPECT_EQ(paths(), (Lines{search + "Paris", paris, search + "Paris", forecastPath("33.6609", "-95.5555"),
                              search + "S%C3%A3o+Tom%C3%A9+%26+co", paris}));
    for (const Received& request : server.requests()) {
        EXPECT_EQ(request.method, "GET");
        EXPECT_EQ(request.header("Accept-Encoding"), "identity");
    }
    EXPECT_EQ(choices.place.name, "") << "asking about a place isn't living there";
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(WeatherNet, APlaceThatIsNotFoundIsNamed) {
    for (const Reply& reply : {makeReply(200, "{}"), makeReply(500, readTestData("places.json"))}) {
        answers["/v1/search?"] = reply;
        EXPECT_EQ(weather("Atlantis, Sea"), "Couldn't find a place called Atlantis, Sea.");
    }
    EXPECT_EQ(server.requests().size(), 2u) << "no forecast for it";
    answers["/v1/search?"] = makeReply(200, R"({"results":[{"name":null}]})");
    EXPECT_THROW(weather("Atlantis"), nlohmann::json::exception);
    endpoints.geocoding = nowhere();
    EXPECT_EQ(weather("Atlantis"), "Couldn't find a place called Atlantis.");
}

TEST_F(WeatherNet, TheUsersOwnPlaceIsThatOfTheSettings) {
    choices.place = {"Home, Sweet", -33.86788, 151.0};
    EXPECT_EQ(weather(""), "Weather for Home, Sweet" + tail);
    EXPECT_EQ(paths(), Lines{forecastPath("-33.8679", "151.0000")});
}

TEST_F(WeatherNet, TheNetworkAddressTellsTheUsersPlace) {
    const char* const unknown = "I don't know where you are. Ask the user for their city.";
    const std::pair<int32_t, const char*> failures[] = {
        {200, R"({"status":"fail"})"},
        {200, R"({"city":"Oslo","regionName":"Oslo","lat":59.9,"lon":10.7})"},
        {200, R"({"status":"Success","city":"Oslo"})"},
        {200, R"({"status":true,"city":"Oslo"})"},
        {200, "\"success\""},
        {200, "{"},
        {429, R"({"status":"success","city":"Oslo"})"}};
    for (const auto& [status, body] : failures) {
        answers["/json/"] = makeReply(status, body);
        EXPECT_EQ(weather(""), unknown) << body;
    }
    EXPECT_EQ(server.requests().size(), std::size(failures)) << "no forecast for it";
    answers["/json/"] = makeReply(200, R"({"status":"success","city":"Oslo","lat":"north"})");
    EXPECT_THROW(weather(""), nlohmann::json::exception);
    EXPECT_EQ(choices.place.name, "");
    EXPECT_EQ(logged(), Lines{});

    answers["/json/"] = makeReply(
        200, R"({"status":"success","city":"Bergen","regionName":"Vestland","lat":60.39,"lon":5.32})");
    EXPECT_EQ(weather(""), "Weather for Bergen, Vestland" + tail);
    const Received asked = server.requests().at(std::size(failures) + 1);
    EXPECT_EQ(asked.path, "/json/?fields=status,city,regionName,lat,lon");
    EXPECT_EQ(asked.header("Accept-Encoding"), "gzip, deflate");
    EXPECT_EQ(paths().back(), forecastPath("60.3900", "5.3200"));
    EXPECT_EQ(choices.place.name, "Bergen, Vestland");
    EXPECT_EQ(logged(), Lines{"location from IP: Bergen, Vestland"});

    endpoints.ipLocation = nowhere();
    EXPECT_EQ(weather(""), "Weather for Bergen, Vestland" + tail) << "it isn't looked up again";
    choices.place = {};
    EXPECT_EQ(weather(""), unknown);
}

TEST_F(WeatherNet, AWeatherServiceThatFailsIsLogged) {
    for (const Reply& reply :
         {makeReply(400, R"({"error":true})"), makeReply(200, "<html>" + std::string(300, 'x')),
          makeReply(200, R"({"daily":{}})")}) {
        answers["/v1/forecast?"] = reply;
        EXPECT_EQ(weather("Paris"), "The weather service didn't answer.");
    }
    endpoints.forecast = nowhere();
    EXPECT_EQ(weather("Paris"), "The weather service didn't answer.");
    EXPECT_EQ(logged(), (Lines{R"(weather failed: status=400 err= body={"error":true})",
                               "weather failed: status=200 err= body=<html>" + std::string(194, 'x'),
                               R"(weather failed: status=200 err= body={"daily":{}})",
                               "weather failed: status=0 err=request failed (7) body="}));
}

}  // namespace
