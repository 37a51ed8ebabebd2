#pragma once

#include <string>

class Companion;

/// What is to be listened to.
struct WavTestOrder {
    std::string path;
    bool followUp = false;  ///< as if the companion had asked
};

/// Reads "WAV [--followup]".
WavTestOrder wavTestOrder(const std::string& arguments);

/// The run mode `--wavtest`: follows a recording from sound to command, without a microphone. Returns the
/// exit code, 0 when it was followed to its end.
int runWavTestMode(Companion& companion, const WavTestOrder& order);
