#pragma once

#include <array>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

// The speech that wake-corpus.py made, as a microphone in a room would deliver it.

constexpr double samplesPerSecond = 16000;

/// One recording of the corpus.
struct SpokenText {
    std::string set;
    std::string part;
    std::string voice;
    std::string file;      ///< full path
    double size = 1;       ///< of the speaker: it is played that much faster
    double nameBegin = 0;  ///< in seconds as it is played; below 0 when the name isn't said
    double nameEnd = 0;
};

/// The recordings that the folder's corpus.tsv lists. Empty when it can't be read.
std::vector<SpokenText> readCorpus(const std::string& folder);

/// The speech alone, at a speaker's size and at always the same loudness. Empty when the file can't be read.
std::vector<float> play(const SpokenText& text);

/// Noise with about the same power in each octave, as in rooms; the same for each object.
class PinkNoise {
public:
    PinkNoise();
    float next();

private:
    /// A low-pass; each gives the same power.
    struct Octave {
        float keep = 0;
        float add = 0;
        float state = 0;
    };

    std::mt19937 dice{20260101};
    std::array<Octave, 9> octaves;
};

/// Speech of `play` in a room, preceded and followed by seconds of the room alone. The noise lies `quieter`
/// decibels below the speech.
std::vector<int16_t> inRoom(const std::vector<float>& speech, PinkNoise& noise, double quieter, double before,
                            double after);
