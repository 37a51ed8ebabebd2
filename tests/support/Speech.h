#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

// Sound to be heard by the companion: 16 kHz, one channel, 16 bits.

/// What a speaker says, by flite's voice of this name. Throws when there is none to say it.
std::vector<int16_t> speech(const std::string& words, const std::string& voice = "slt");

/// A pure tone, by which the stand-in for speech recognition tells what it has heard.
std::vector<int16_t> tone(double hertz, double seconds = 0.5);

std::vector<int16_t> silence(double seconds);

/// One after the other.
std::vector<int16_t> joined(std::initializer_list<std::vector<int16_t>> sounds);
