#pragma once

#include <string>

#include "assistant/UserProfile.h"
#include "foundation/Callbacks.h"
#include "foundation/Endpoints.h"

// Weather and places, from public services without keys. Every answer is a short text for the language model.
// Threads: everything here may be called from any thread. What takes `Endpoints` blocks for requests.

/// Returns the present weather and the forecast for three days. An empty `place` means the user's own, which
/// is looked up by network address, and kept for this run, when it isn't known. Throws
/// nlohmann::json::exception when a service sends values of a wrong type.
std::string getWeather(const Endpoints& endpoints, const UserProfile& user, const std::string& place,
                       CancelFlag* cancel);

/// Finds a place by "city" or "city, region or country". Returns false when there is none or the service
/// doesn't answer. Throws like `getWeather`.
[[nodiscard]] bool geocodePlace(const Endpoints& endpoints, const std::string& place, Place& found,
                                CancelFlag* cancel);

/// Finds the user's place by network address. Returns false when the service doesn't know it or doesn't
/// answer. Throws like `getWeather`.
[[nodiscard]] bool locateByIp(const Endpoints& endpoints, Place& found, CancelFlag* cancel);

/// Returns words for a WMO weather code of the forecast service.
const char* weatherDescription(int code);

/// Returns the text for a forecast's body; empty when the body isn't one. Throws like `getWeather`.
std::string forecastText(const std::string& body, const std::string& placeName);

/// Picks the place from the geocoder's answer to a request for `place`. Returns false when the answer holds
/// none. Throws like `getWeather`.
[[nodiscard]] bool choosePlace(const std::string& body, const std::string& place, Place& found);

/// Returns the part of `place` that the geocoder is asked for.
std::string cityOf(const std::string& place);
