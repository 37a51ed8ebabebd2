#pragma once

#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// Everything else that the program needs of the operating system. Paths are UTF-8.
// Threads: any, for everything here.

/// Makes writing to a pipe without a reader an ordinary error instead of the end of the program. To be called
/// once, by the entry, before there are threads.
void prepareProcess();

/// From now on the first request to end (SIGTERM, SIGINT, SIGHUP) only sets `terminationRequested`; a second
/// one of the same kind ends the process. Signals that are ignored stay ignored. To be called once.
void catchTermination();

/// Returns whether the user or the system has asked the process to end since `catchTermination`.
bool terminationRequested();

/// Returns the folder for the data of this user's programs, without the program's name; creates it if it is
/// missing. Returns an empty text when the system can't tell.
std::string localDataFolder();

/// Creates one folder, readable for this user only. Its parent must exist. Does not report a failure; a
/// folder that exists is left as it is.
void createPrivateFolder(const std::string& path);

/// Returns the folder of the running executable; empty when the system can't tell.
std::string executableFolder();

/// Writes text to the place where developers look for a program's messages. Never fails.
void debugOutput(const char* text);

/// Returns the number of physical processor cores; 4 when it can't be found out.
int32_t physicalCoreCount();

/// Returns the bytes that this user may still write on the volume of `path`; nothing when it can't be found
/// out.
std::optional<uint64_t> freeDiskSpace(const std::string& path);

/// Returns the user's name for the volume that holds `path`: a mount point, or a drive letter.
std::string volumeName(const std::string& path);

/// Returns `time` in the user's time zone.
std::tm localTime(std::time_t time);

/// Opens an address or a folder with the user's program for it, which outlives this program. Returns at once.
/// Does nothing when there is no such program.
void openOnDesktop(const std::string& target);

/// Sets whether the desktop starts this program, without arguments, when the user logs on. Does not report a
/// failure.
void setRunAtStartup(bool enabled);

/// A graphics adapter.
struct GraphicsAdapter {
    std::string name;
    uint32_t vendor = 0;           ///< PCI vendor number
    uint64_t dedicatedMemory = 0;  ///< bytes, without memory that it shares with the processor
    bool isSoftware = false;       ///< the processor does the drawing
};

/// Returns whether the Vulkan loader is installed.
bool hasVulkanLoader();

/// Returns whether the driver for NVIDIA cards is installed.
bool hasNvidiaDriver();

/// Returns the adapters in the system's order; nothing when they can't be listed. Blocks for up to a second,
/// because drivers are loaded.
std::optional<std::vector<GraphicsAdapter>> graphicsAdapters();

/// A name that only one process of this user can hold at a time. It becomes free however the holder ends, and
/// children don't inherit it.
class SingleInstance {
public:
    /// Takes the name if it is free. `isFirst` is also true when the system can't tell.
    explicit SingleInstance(const std::string& name);
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    [[nodiscard]] bool isFirst() const { return first; }

private:
    int64_t handle = -1;
    bool first = true;
};
