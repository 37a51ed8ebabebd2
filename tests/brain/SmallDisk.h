#pragma once

#include <cstdint>
#include <string>

/// Mounts an empty disk of this size over a folder, for the calling thread and those that it starts, until
/// the process ends. Needs root or a system that lets users make namespaces of their own. False when it can't
/// be had.
[[nodiscard]] bool mountSmallDisk(const std::string& folder, uint64_t bytes);

/// Makes a file that takes this much room, or all that is left.
void takeRoom(const std::string& path, uint64_t bytes);
