#pragma once

#include <functional>
#include <string>

/// Where the user is; unknown while the name is empty.
struct Place {
    std::string name;
    double latitude = 0;   ///< degrees
    double longitude = 0;  ///< degrees
};

/// The user's choices that the assistant depends on.
struct UserChoices {
    std::string userName;     ///< empty: not known
    Place place;              ///< the user's own
    bool webResearch = true;  ///< offer the web tools, search ahead of the model
};

/// How long a place is kept: until the program ends, or in the settings file.
enum class PlaceLifetime { thisRun, saved };

/// The assistant's access to the user's settings. The owner of the assistant sets both functions.
///
/// Threads: the functions are called on the thread of the turn or of the warm-up, while others may change the
/// settings.
struct UserProfile {
    /// Returns the choices as they are at the time of the call.
    std::function<UserChoices()> choices = [] { return UserChoices(); };
    /// Makes this the user's own place.
    std::function<void(const Place&, PlaceLifetime)> keepPlace = [](const Place&, PlaceLifetime) {};
};
