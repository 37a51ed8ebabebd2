#include "core/AssistantProfile.h"

UserProfile assistantProfile(Settings& settings) {
    UserProfile user;
    user.choices = [&settings] {
        return UserChoices{settings.userName.get(),
                           {settings.locName.get(), settings.locLat, settings.locLon},
                           settings.webResearch};
    };
    user.keepPlace = [&settings](const Place& place, PlaceLifetime lifetime) {
        settings.locName.set(place.name);
        settings.locLat = place.latitude;
        settings.locLon = place.longitude;
        if (lifetime == PlaceLifetime::saved) settings.save();
    };
    return user;
}
