#pragma once

#include <cstdint>

class SpeechEngine;

/// The move from the CPU build of the speech engine to the CUDA build, behind the user's back: downloads that
/// build, tries it on a port of its own, and puts its server in the place of the engine's once it has done a
/// transcription. The engine serves all the time. `SpeechEngine::stopUpgrade` cancels every step; a cancelled
/// upgrade leaves no trace.
///
/// Threads: the engine's `upgradeThread`.
class CudaUpgrade {
public:
    explicit CudaUpgrade(SpeechEngine& theEngine) : engine(theEngine) {}

    /// Blocks until the upgrade has succeeded or failed. Failures are logged; those of the build itself also
    /// write the marker file.
    void run();

private:
    [[nodiscard]] bool fetch() const;
    [[nodiscard]] bool tryOut(int32_t trialPort);
    void swapServers(int32_t trialPort);
    void fail(const char* reason) const;

    SpeechEngine& engine;
};
