#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Whether the paths in an archive stay in the folder that it is unpacked into.
// Threads: everything here may be called from any thread.

/// The components of an entry's path, without empty ones and "."; none stand for the folder itself. Nothing
/// when the path is absolute or holds "..".
std::optional<std::vector<std::string>> entryComponents(std::string_view path);

/// Whether a symbolic link that lies `depth` folders deep may point to `target`: relative, never above the
/// folder, with ".." at its beginning only. Behind another component that one might be a link, and ".." would
/// then lead to elsewhere than it reads.
bool isInsideTarget(std::string_view target, size_t depth);
