// Any bytes as an answer of the weather and place services, and any words as a question about the weather.

#include <nlohmann/json.hpp>

#include "assistant/PreRouting.h"
#include "assistant/Weather.h"
#include "fuzz/CutInput.h"
#include "fuzz/Require.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const CutInput input(data, size);
    try {
        const std::string text = forecastText(input.text, "here");
        require(text.empty() || text.rfind("Weather for here (source: Open-Meteo).", 0) == 0,
                "a forecast names its place");
    } catch (const nlohmann::json::exception&) {  // values of a wrong type, told to the caller
    }
    try {
        std::string name;
        double latitude = 0;
        double longitude = 0;
        (void)choosePlace(input.text, "Dallas, Texas", name, latitude, longitude);
    } catch (const nlohmann::json::exception&) {
    }
    (void)weatherPlace(input.text);
    (void)searchQuery(input.text, 2026);
    require(linkedUrls(input.text).size() <= 2, "at most two addresses are read");
    return 0;
}
