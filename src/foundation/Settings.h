#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "foundation/SharedText.h"

/// The user's choices, kept in "settings.json" in the data folder. Everything has a default, so the program
/// runs without a file. The file is read only at start; from then on the record in memory holds.
///
///
/// Threads: any. Each field is replaced as a whole; a reader may see a change late.
class Settings {
public:
    SharedText locName;                   ///< the user's place, as a display name
    std::atomic<double> locLat = 0.0;     ///< latitude of that place, degrees
    std::atomic<double> locLon = 0.0;     ///< longitude of that place, degrees
    SharedText userName;                  ///< what the companion calls the user; empty: not known
    std::atomic<int32_t> modelIndex = 0;  ///< row of the model catalogue
    std::atomic<int32_t> sizePx = 240;    ///< head window height in pixels at 96 DPI; the width is 0.85 of it
    std::atomic<bool> voiceOn = true;     ///< speak replies aloud
    std::atomic<bool> alwaysOnTop = true;        ///< the head stays above other windows
    std::atomic<bool> webResearch = true;        ///< offer the web tools, search ahead of the model
    std::atomic<bool> startWithWindows = false;  ///< start with the user's logon
    std::atomic<bool> camOn = false;             ///< use the camera
    std::atomic<bool> micOn = true;              ///< listen through the microphone
    SharedText micDevice;                        ///< chosen microphone; empty: the system's default
    SharedText voiceName;            ///< part of the wanted voice's name; empty: chosen automatically
    std::atomic<int32_t> posX = -1;  ///< left edge of the head window on the screen; -1: no position saved
    std::atomic<int32_t> posY = -1;  ///< its top edge; -1: no position saved

    /// Returns the process's one record.
    static Settings& instance();

    /// Fills the record from the file. No file, broken JSON or anything but an object changes nothing; a key
    /// that is missing or of the wrong type leaves its field as it is; unknown keys are ignored.
    void load();

    /// Writes the whole record over the file. A failure is not reported: the next save tries again.
    void save();

    /// `load` and `save` without the file.
    void fromJson(const std::string& bytes);
    [[nodiscard]] std::string toJson() const;

private:
    std::mutex fileMutex;  ///< one save at a time
};
