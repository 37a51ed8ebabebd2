#pragma once

#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// What the program asks of the operating system beside processes, archives and devices. Paths are UTF-8.
// Threads: everything here may be called from any thread.

/// Sets what a process must set before anything else: that writing to a pipe whose reader is gone is an error
/// like any other, not the end of the program. Once, by the entry, before there are threads.
void prepareProcess();

/// From now on the first request to end (SIGTERM, SIGINT, SIGHUP) doesn't end the process, but is kept for
/// `terminationRequested`; a second one of the same kind does. One that was to be ignored still is. Once.
void catchTermination();

/// Whether the user or the system has asked the process to end since `catchTermination`.
bool terminationRequested();

/// The folder for a program's own data of this user, without the program's name; created if it is missing.
/// Empty when the system can't tell.
std::string localDataFolder();

/// Creates one folder, readable for this user only. Its parent must exist. Says nothing on failure or when it
/// is there already.
void createPrivateFolder(const std::string& path);

/// The folder of the running executable, empty when the system can't tell.
std::string executableFolder();

/// Sends text to where a developer looks for a program's messages. Never fails.
void debugOutput(const char* text);

/// The number of physical processor cores; 4 when it can't be found out.
int32_t physicalCoreCount();

/// Bytes that this user may still write on the volume of `path`; nothing when it can't be found out.
std::optional<uint64_t> freeDiskSpace(const std::string& path);

/// The name by which a user knows the volume that holds `path`: a mount point, or a drive's letter.
std::string volumeName(const std::string& path);

/// `time` in the user's time zone.
std::tm localTime(std::time_t time);

/// Opens an address or a folder with the program that this user has for it. Returns at once; what is opened
/// outlives this program. Nothing happens when there is no such program.
void openOnDesktop(const std::string& target);

/// Has the desktop start this program, without arguments, when the user logs on, or no longer. A failure is
/// not reported.
void setRunAtStartup(bool enabled);

/// One graphics adapter.
struct GraphicsAdapter {
    std::string name;
    uint32_t vendor = 0;  ///< PCI vendor number
    uint64_t dedicatedMemory =
        0;                    ///< bytes of its own; memory that it shares with the processor doesn't count
    bool isSoftware = false;  ///< drawn by the processor
};

/// True when the Vulkan loader is installed.
bool hasVulkanLoader();

/// True when the driver for NVIDIA's cards is installed.
bool hasNvidiaDriver();

/// The adapters in the system's order; nothing when they can't be listed at all. May take a second: drivers
/// are loaded for it.
std::optional<std::vector<GraphicsAdapter>> graphicsAdapters();

/// A name that only one process of this user can hold at a time. The system takes it back however the holder
/// ends, and children don't inherit it.
class SingleInstance {
public:
    /// Takes the name if it is free. `isFirst` is true as well when the system can't tell.
    explicit SingleInstance(const std::string& name);
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    [[nodiscard]] bool isFirst() const { return first; }

private:
    int64_t handle = -1;
    bool first = true;
};
