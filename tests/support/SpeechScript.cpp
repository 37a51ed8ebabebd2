#include "support/SpeechScript.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <stdexcept>

using nlohmann::json;

namespace {

constexpr double sampleRate = 16000;
constexpr size_t window = 4800;  // 0.3 s
constexpr size_t hop = 800;

/// The share of a tone in the energy of a window, 0 to 1.
double shareOf(int32_t hertz, const int16_t* samples) {
    const double step = 2 * std::cos(2 * M_PI * hertz / sampleRate);
    double last = 0;
    double beforeLast = 0;
    double energy = 1;  // digital silence has no tone in it
    for (size_t i = 0; i < window; ++i) {
        const double now = samples[i] + step * last - beforeLast;
        beforeLast = last;
        last = now;
        energy += static_cast<double>(samples[i]) * samples[i];
    }
    const double power = last * last + beforeLast * beforeLast - step * last * beforeLast;
    return power * 2 / (static_cast<double>(window) * energy);
}

}  // namespace

SpeechScript::SpeechScript()
    : tones({{400, " Velu, what time is it?"},
             {1000, " Velu."},
             {1600, " [Music]"},
             {2500, " And then what"},
             {4000, " Velu, tell me a long story please!"}}),
      otherwise(" Velu, this is what the stand-in for speech recognition hears.") {}

bool SpeechScript::read(const std::string& text, std::string& error) {
    try {
        const json script = json::parse(text);
        for (const auto& [key, value] : script.items()) {
            if (key == "default")
                otherwise = value;
            else if (key == "tones")
                for (const auto& [hertz, words] : value.items())
                    tones[std::stoi(hertz)] = words;
            else if (key == "delayMs")
                delayMs = value;
            else if (key == "status")
                status = value;
            else if (key == "body")
                body = value.get<std::string>();
            else if (key == "readyAfterMs")
                readyAfterMs = value;
            else if (key == "neverReady")
                neverReady = value;
            else if (key == "exitAtStart")
                exitAtStart = value;
            else if (key == "exitAtInference")
                exitAtInference = value;
            else
                throw std::runtime_error("unknown key \"" + key + "\"");
        }
        return true;
    } catch (const std::exception& problem) {
        error = problem.what();
        return false;
    }
}

std::string SpeechScript::textFor(const std::vector<int16_t>& samples) const {
    constexpr double leastShare = 0.5;
    for (size_t start = 0; start + window <= samples.size(); start += hop) {
        const auto heard = std::find_if(tones.begin(), tones.end(), [&](const auto& tone) {
            return shareOf(tone.first, samples.data() + start) >= leastShare;
        });
        if (heard != tones.end()) return heard->second;
    }
    return otherwise;
}
