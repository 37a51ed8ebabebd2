#pragma once

#include <string>

/// Every host that the program contacts, each as scheme and host without a trailing slash. The defaults are
/// the public services; tests point them at loopback. No setting and no environment variable changes them.
struct Endpoints {
    std::string releases = "https://api.github.com";                 ///< listings of the engines' releases
    std::string models = "https://huggingface.co";                   ///< model files
    std::string duckDuckGo = "https://html.duckduckgo.com";          ///< first search engine
    std::string bing = "https://www.bing.com";                       ///< second search engine
    std::string geocoding = "https://geocoding-api.open-meteo.com";  ///< names of places to coordinates
    std::string forecast = "https://api.open-meteo.com";             ///< weather
    std::string ipLocation = "http://ip-api.com";                    ///< place of a network address
};
