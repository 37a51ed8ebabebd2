#pragma once

#include <array>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

// Plays the speech that wake-corpus.py generated as a microphone in a room would record it.

constexpr double samplesPerSecond = 16000;

/// One recording of the corpus.
struct SpokenText {
    std::string set;
    std::string part;
    std::string voice;
    std::string file;      ///< full path
    double size = 1;       ///< size of the speaker: the recording is played that much faster
    double nameBegin = 0;  ///< seconds from the beginning as it is played; below 0 if it lacks the name
    double nameEnd = 0;    ///< the same for the end of the name
};

/// Returns the recordings that the folder's corpus.tsv lists; none if it can't be read.
std::vector<SpokenText> readCorpus(const std::string& folder);

/// Returns the speech at the speaker's size and at a fixed loudness; nothing if the file can't be read.
std::vector<float> play(const SpokenText& text);

/// Noise with about the same power in each octave, as in rooms. Each object gives the same samples.
class PinkNoise {
public:
    PinkNoise();
    float next();

private:
    /// A low-pass filter; all have the same output power.
    struct Octave {
        float keep = 0;
        float add = 0;
        float state = 0;
    };

    std::mt19937 dice{20260101};
    std::array<Octave, 9> octaves;
};

/// Returns `speech` in a room, after `before` and followed by `after` seconds of the room alone. The room's
/// noise is `quieter` decibels below the speech.
std::vector<int16_t> inRoom(const std::vector<float>& speech, PinkNoise& noise, double quieter, double before,
                            double after);
