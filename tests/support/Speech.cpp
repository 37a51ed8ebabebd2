#include "support/Speech.h"

#include <cmath>
#include <cstring>
#include <numbers>
#include <stdexcept>

#include "support/TemporaryFolder.h"
#include "support/TestData.h"
#include "support/TestProgram.h"

namespace {

constexpr double sampleRate = 16000;
constexpr size_t headerBytes = 44;  // as flite writes it

}  // namespace

std::vector<int16_t> speech(const std::string& words, const std::string& voice) {
    const TemporaryFolder folder;
    const std::string path = folder.path + "/speech.wav";
    TestProgram flite({"flite", "-voice", voice, "-t", words, "-o", path}, folder.path + "/flite.log");
    if (flite.wait() != 0) throw std::runtime_error("flite can't say " + words);
    const std::string bytes = fileText(path);
    std::vector<int16_t> samples;
    samples.resize((bytes.size() - headerBytes) / sizeof samples[0]);
    std::memcpy(samples.data(), &bytes[headerBytes], samples.size() * sizeof samples[0]);
    return samples;
}

std::vector<int16_t> tone(double hertz, double seconds) {
    std::vector<int16_t> samples(static_cast<size_t>(seconds * sampleRate));
    constexpr double loudness = 8000;
    for (size_t at = 0; at < samples.size(); ++at) {
        samples[at] = static_cast<int16_t>(
            loudness * std::sin(2 * std::numbers::pi * hertz * static_cast<double>(at) / sampleRate));
    }
    return samples;
}

std::vector<int16_t> silence(double seconds) {
    return std::vector<int16_t>(static_cast<size_t>(seconds * sampleRate));
}

std::vector<int16_t> joined(std::initializer_list<std::vector<int16_t>> sounds) {
    std::vector<int16_t> all;
    for (const std::vector<int16_t>& sound : sounds)
        all.insert(all.end(), sound.begin(), sound.end());
    return all;
}
