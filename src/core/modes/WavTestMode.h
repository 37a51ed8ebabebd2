#pragma once

#include <string>

class Companion;

/// What `--wavtest` is to follow.
struct WavTestOrder {
    std::string path;
    bool followUp = false;  ///< no name is needed, as after "Yes?"
};

/// Reads "WAV [--followup]".
WavTestOrder wavTestOrder(const std::string& arguments);

/// The run mode `--wavtest`: follows a recording from sound to command, without a microphone. Returns the
/// exit code: 0 when it came to the recording's end, else 1.
int runWavTestMode(Companion& companion, const WavTestOrder& order);
