#pragma once

#include <atomic>
#include <cstdint>
#include <string>

/// Unpacks an archive (compressed tar or zip, recognised by its content) into an existing folder, over the
/// files there. Never writes outside the folder.
///
/// Returns false when the archive can't be read to its end, holds a path or link that would leave the folder,
/// or anything but files, folders and links, when it takes longer than `limitMs`, or when `cancel` (may be
/// null) turns true. Whatever was unpacked until then stays.
///
/// Threads: any; blocks, and notices `cancel` within 100 ms.
[[nodiscard]] bool unpackArchive(const std::string& archive, const std::string& folder, uint64_t limitMs,
                                 const std::atomic<bool>* cancel);
