#pragma once

#include <string>

// The XDG base directories. Threads: any.

/// Returns the value of `variable` when it is an absolute path, otherwise the user's home folder followed by
/// `below`, which starts with a slash. Returns an empty text when there is neither.
std::string userFolder(const char* variable, const char* below);

/// Creates the folder and its missing parents, readable for this user only.
void createPrivateFolders(const std::string& path);
