#pragma once

#include <atomic>
#include <cstdint>
#include <string>

/// Unpacks an archive (compressed tar or zip, told by its content) into an existing folder, over what is
/// there.
///
/// False when the archive can't be read to its end, when it holds a path or link that would leave the folder
/// or anything but files, folders and links, when it takes longer than `limitMs`, or when `cancel` (may be
/// null) reads true. What was unpacked until then stays. Nothing is ever written outside the folder.
///
/// Threads: any; blocks, and sees `cancel` within 100 ms.
[[nodiscard]] bool unpackArchive(const std::string& archive, const std::string& folder, uint64_t limitMs,
                                 const std::atomic<bool>* cancel);
