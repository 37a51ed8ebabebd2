#include "assistant/Weather.h"
#include "assistant/WebFixture.h"

namespace {

class WeatherNet : public WebFixture {};

TEST_F(WeatherNet, AsksTheServicesAndTellsOfThem) {
    expectCases("weather", [this](const nlohmann::json& row) {
        Place own;
        if (row["home"] != "") own = {row["home"], -33.86788, 151.0};
        UserProfile user;
        user.choices = [&] { return UserChoices{"", own, true}; };
        user.keepPlace = [&](const Place& place, PlaceLifetime lifetime) {
            EXPECT_EQ(lifetime, PlaceLifetime::thisRun);
            own = place;
        };
        const std::string place = row["argument"];
        std::string text = "throws";
        try {
            text = getWeather(endpoints, user, place, &cancel);
        } catch (const nlohmann::json::exception&) {
        }
        // Only the user's own place is kept, and only when it was found.
        const bool isFound = place.empty() && text.starts_with("Weather for " + own.name);
        EXPECT_EQ(own.name.empty(), !isFound);
        if (!isFound || row["home"] != "") return text;
        // From then on it isn't looked up.
        EXPECT_EQ(own.latitude, 60.39);
        EXPECT_EQ(own.longitude, 5.32);
        Endpoints others = endpoints;
        others.ipLocation = nowhere();
        others.forecast = nowhere();
        EXPECT_EQ(getWeather(others, user, "", &cancel), "The weather service didn't answer.");
        return text;
    });
    for (const Received& request : server.requests()) {
        EXPECT_EQ(request.method, "GET");
        const bool isPacked = request.path.starts_with("/json/");
        EXPECT_EQ(request.header("Accept-Encoding"), isPacked ? "gzip, deflate" : "identity");
    }
}

}  // namespace
