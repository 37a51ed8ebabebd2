#pragma once

#include <string>

#include "foundation/Callbacks.h"
#include "foundation/Endpoints.h"

// Weather and places, from public services without keys. Every answer is a short text for the language model.
// Threads: any; all but `weatherDescription` and `forecastText` block for requests.

/// The present weather and three days' forecast; `place` empty means the user's own place, looked up by
/// network address when it isn't known. Throws nlohmann::json::exception when the service sends values of a
/// wrong type.
std::string getWeather(const Endpoints& endpoints, const std::string& place, CancelFlag* cancel);

/// Finds a place by "city" or "city, region or country"; writes its display name and coordinates in degrees.
/// False when there is none or the service doesn't answer. Throws like `getWeather`.
[[nodiscard]] bool geocodePlace(const Endpoints& endpoints, const std::string& place, std::string& name,
                                double& latitude, double& longitude, CancelFlag* cancel);

/// Fills the settings' place by the user's network address, for this run only; leaves it alone when it can't.
void locateByIp(const Endpoints& endpoints, CancelFlag* cancel);

/// Words for one of the WMO weather codes that the forecast service uses.
const char* weatherDescription(int code);

/// The text for a forecast's body; empty when the body isn't one. Throws like `getWeather`.
std::string forecastText(const std::string& body, const std::string& placeName);

/// What `geocodePlace` makes of the service's answer to a question for `place`.
[[nodiscard]] bool choosePlace(const std::string& body, const std::string& place, std::string& name,
                               double& latitude, double& longitude);

/// The part of `place` that the geocoder is asked for.
std::string cityOf(const std::string& place);
