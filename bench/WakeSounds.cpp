#include "WakeSounds.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>

#include "foundation/Files.h"
#include "hearing/Recording.h"

namespace {

constexpr float speechRms = 2500;      // of a microphone at arm's length
constexpr float silenceBelow = 0.02F;  // of the loudest sample; quieter samples are pauses

float rmsOfSpeech(const std::vector<float>& samples) {
    float loudest = 0;
    for (const float sample : samples)
        loudest = std::max(loudest, std::abs(sample));
    double squares = 0;
    size_t count = 0;
    for (const float sample : samples) {
        if (std::abs(sample) < loudest * silenceBelow) continue;
        squares += static_cast<double>(sample) * sample;
        ++count;
    }
    return count == 0 ? 1 : static_cast<float>(std::sqrt(squares / static_cast<double>(count)));
}

}  // namespace

std::vector<SpokenText> readCorpus(const std::string& folder) {
    std::vector<SpokenText> texts;
    std::ifstream listing(folder + "/corpus.tsv");
    for (std::string line; std::getline(listing, line);) {
        std::istringstream fields(line);
        SpokenText text;
        fields >> text.set >> text.part >> text.voice >> text.size >> text.file >> text.nameBegin >>
            text.nameEnd;
        text.file = folder + "/" + text.file;
        text.nameBegin /= text.size;
        text.nameEnd /= text.size;
        texts.push_back(std::move(text));
    }
    return texts;
}

std::vector<float> play(const SpokenText& text) {
    Recording recording;
    std::string bytes;
    if (!readWholeFile(text.file, bytes) || readRecording(bytes, recording) != RecordingError::none)
        return {};
    std::vector<float> speech;
    for (double at = 0; at + 1 < static_cast<double>(recording.samples.size()); at += text.size) {
        const auto index = static_cast<size_t>(at);
        const auto share = static_cast<float>(at - static_cast<double>(index));
        speech.push_back(static_cast<float>(recording.samples[index]) * (1 - share) +
                         static_cast<float>(recording.samples[index + 1]) * share);
    }
    const float gain = speechRms / rmsOfSpeech(speech);
    for (float& sample : speech)
        sample *= gain;
    return speech;
}

PinkNoise::PinkNoise() {
    constexpr float pi = 3.14159265F;
    float corner = 30;
    for (Octave& octave : octaves) {
        octave.keep = std::exp(-2 * pi * corner / static_cast<float>(samplesPerSecond));
        octave.add = std::sqrt(1 - octave.keep * octave.keep);
        corner *= 2;
    }
}

float PinkNoise::next() {
    const float white = static_cast<float>(dice()) / 2147483648.0F - 1;
    float sum = 0;
    for (Octave& octave : octaves) {
        octave.state = octave.keep * octave.state + octave.add * white;
        sum += octave.state;
    }
    return sum;
}

std::vector<int16_t> inRoom(const std::vector<float>& speech, PinkNoise& noise, double quieter, double before,
                            double after) {
    const auto lead = static_cast<size_t>(before * samplesPerSecond);
    std::vector<float> room(lead + speech.size() + static_cast<size_t>(after * samplesPerSecond));
    double squares = 0;
    for (float& sample : room) {
        sample = noise.next();
        squares += static_cast<double>(sample) * sample;
    }
    const double wanted = speechRms * std::pow(10, -quieter / 20);
    const auto gain = static_cast<float>(wanted / std::sqrt(squares / static_cast<double>(room.size())));
    std::vector<int16_t> samples(room.size());
    for (size_t index = 0; index < room.size(); ++index) {
        const bool isSpeech = index >= lead && index < lead + speech.size();
        const float heard = room[index] * gain + (isSpeech ? speech[index - lead] : 0);
        samples[index] = static_cast<int16_t>(std::clamp(heard, -32768.0F, 32767.0F));
    }
    return samples;
}
